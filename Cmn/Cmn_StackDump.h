#pragma once

#include <atomic>
#include <iosfwd>

// A captured call stack carried by an exception. Capturing is installed by
// the crash-handling layer; until then every exception carries an empty one.
class Cmn_StackDump
{
public:
    using CreateMethod = Cmn_StackDump* (*)();

    virtual ~Cmn_StackDump();
    virtual void Print(std::ostream& os) const = 0;
    virtual Cmn_StackDump* Clone() const = 0;

    // A new dump of the caller's stack, owned by the caller.
    static Cmn_StackDump* Create();

protected:
    Cmn_StackDump() = default;
    Cmn_StackDump(Cmn_StackDump const&) = default;
    Cmn_StackDump& operator=(Cmn_StackDump const&) = default;

    // Returns the method that was installed before; null restores the empty dump.
    static CreateMethod SetCreateMethod(CreateMethod method) noexcept;

private:
    // Atomic: exceptions are made on every thread while it may be installed.
    static std::atomic<CreateMethod> sCreateMethod;
};
