#include "DAW/DAW_Command.h"

#include <utility>

DAW_Command::DAW_Command(std::string name, int32 commandID, int32 secondNumber, DAW_ECommandType commandType,
                         KeyContextVector const& allowableContexts)
    : mName(std::move(name)), mCommandID(commandID), mSecondNumber(secondNumber), mCommandType(commandType),
      mAllowableContexts(allowableContexts)
{
}

DAW_Command::~DAW_Command() = default;

void DAW_Command::DoCommandStart(Cmn_RefCountPtr<DAW_EventModifiers>, Cmn_RefCountPtr<DAW_KeyboardState>) {}

void DAW_Command::DoCommandEnd(Cmn_RefCountPtr<DAW_EventModifiers>, Cmn_RefCountPtr<DAW_KeyboardState>) {}

void DAW_Command::SetAllowableContexts(KeyContextVector contexts)
{
    mAllowableContexts = std::move(contexts);
}
