#pragma once

// Something to call with no arguments and no answer: a pulse that a long
// operation gives its caller (a progress display), or an idle task. A caller
// that wants the operation to stop throws from it.
class Sys_FunctionObject
{
public:
    virtual ~Sys_FunctionObject();
    virtual void operator()() = 0;
};
