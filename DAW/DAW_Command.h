#pragma once

#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_EventModifiers.h"
#include "DAW/DAW_KeyTypes.h"
#include "DAW/DAW_KeyboardState.h"
#include "DAW/KeyContextVector.h"

#include <string>

// A named action of the host, which key bindings and menus refer to by
// number. The host derives its commands from this and owns them.
class DAW_Command
{
public:
    DAW_Command(std::string name, int32 commandID, int32 secondNumber,
                DAW_ECommandType commandType = kDAW_CommandOneShot,
                KeyContextVector const& allowableContexts = KeyContextVector());
    virtual ~DAW_Command();

    // Whether the command may run now; key handling asks with 0.
    virtual bool CanDoCommand(int32 context) = 0;
    // A one-shot command.
    virtual void DoCommand(Cmn_RefCountPtr<DAW_EventModifiers> modifiers, Cmn_RefCountPtr<DAW_KeyboardState> state) = 0;
    // A command held with its key: from key down to key up.
    virtual void DoCommandStart(Cmn_RefCountPtr<DAW_EventModifiers> modifiers,
                                Cmn_RefCountPtr<DAW_KeyboardState> state);
    virtual void DoCommandEnd(Cmn_RefCountPtr<DAW_EventModifiers> modifiers, Cmn_RefCountPtr<DAW_KeyboardState> state);
    virtual void SetAllowableContexts(KeyContextVector contexts);

    std::string const& GetName() const { return mName; }
    int32 GetCommandID() const { return mCommandID; }
    // Kept for the host; nothing here reads it.
    int32 GetSecondNumber() const { return mSecondNumber; }
    DAW_ECommandType GetCommandType() const { return mCommandType; }
    KeyContextVector const& GetAllowableContexts() const { return mAllowableContexts; }

private:
    std::string mName;
    int32 mCommandID;
    int32 mSecondNumber;
    DAW_ECommandType mCommandType;
    KeyContextVector mAllowableContexts;
};
