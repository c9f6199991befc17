// A command for the tests: enabled unless told otherwise and, given a log,
// writes each call there as "<name>.<call>" (can<context>, do, start, end).
#pragma once

#include "DAW/DAW_Command.h"

#include <string>
#include <vector>

namespace vfltest
{
class LoggingCommand : public DAW_Command
{
public:
    LoggingCommand(std::string name, int32 id, int32 secondNumber = 0, DAW_ECommandType type = kDAW_CommandOneShot,
                   std::vector<std::string>* log = nullptr)
        : DAW_Command(std::move(name), id, secondNumber, type), mLog(log)
    {
    }
    bool CanDoCommand(int32 context) override
    {
        Log("can" + std::to_string(context));
        return mEnabled;
    }
    void DoCommand(Cmn_RefCountPtr<DAW_EventModifiers>, Cmn_RefCountPtr<DAW_KeyboardState>) override { Log("do"); }
    void DoCommandStart(Cmn_RefCountPtr<DAW_EventModifiers>, Cmn_RefCountPtr<DAW_KeyboardState>) override
    {
        Log("start");
    }
    void DoCommandEnd(Cmn_RefCountPtr<DAW_EventModifiers>, Cmn_RefCountPtr<DAW_KeyboardState>) override { Log("end"); }
    bool mEnabled = true;

private:
    void Log(std::string const& call)
    {
        if (mLog)
            mLog->push_back(GetName() + "." + call);
    }
    std::vector<std::string>* mLog;
};
} // namespace vfltest
