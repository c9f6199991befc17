#pragma once

// Everything a throw site needs: the exception family, its records and all
// exception codes.

#include <atomic>
#include <exception>
#include <string>
#include <vector>

#include "Cmn/Cmn_ExceptionDescription.h"

// The one family of thrown objects. Text is made only when asked for, and
// the text and the contexts live in a record shared by all copies of one
// exception, so copying an exception while it unwinds stays cheap.
class Cmn_Exception : public Cmn_ExceptionDescription, public std::exception
{
public:
    class RefCountedData;

    ~Cmn_Exception() override;

    void PrintAttr(std::string const& name, std::ostream& os) const override = 0;
    // A heap copy of the same dynamic type, owned by the caller.
    virtual Cmn_Exception* Clone() const = 0;
    // Throws a copy by value with the exact dynamic type.
    [[noreturn]] virtual void Throw() const = 0;

    // The description, made on first call and kept; never throws. Contexts
    // are not part of it.
    char const* what() const noexcept override;

    // Takes ownership of context. Copies of this exception made before keep
    // the contexts they had.
    void AddContext(Cmn_ExceptionDescription const* context);

    // The contexts, oldest first.
    Cmn_ExceptionDescription* const* GetContextListBegin() const noexcept;
    Cmn_ExceptionDescription* const* GetContextListEnd() const noexcept;

    // The description, then each context's description on a line of its own.
    std::string GetFullDescription() const;

protected:
    // Takes ownership of dump, which may be null.
    Cmn_Exception(XC_BaseExceptionCode const& code, Cmn_StackDump* dump) noexcept;
    Cmn_Exception(Cmn_Exception const& other);
    Cmn_Exception(Cmn_Exception&& other) noexcept;
    Cmn_Exception& operator=(Cmn_Exception const& other);
    Cmn_Exception& operator=(Cmn_Exception&& other) noexcept;

private:
    RefCountedData* AssureRefData() const;
    void SetRefData(RefCountedData* data) noexcept;

    static std::vector<Cmn_ExceptionDescription*> const sEmptyContextList;

    // Made lazily, so that an exception that is thrown, caught and forgotten
    // never allocates it. Atomic because what() may make it on two threads.
    mutable std::atomic<RefCountedData*> mData{nullptr};
};

#include "Cmn/Cmn_AddExceptionContext.h"
#include "Cmn/Cmn_ExceptionCodes.h"
#include "Cmn/Cmn_NullExceptionData.h"
#include "Cmn/Cmn_TStringXData.h"
#include "Cmn/Cmn_TypedException.h"
#include "Cmn/Cmn_TypedExceptionContext.h"
#include "Cmn/DAW_Int32ErrData.h"
#include "Cmn/DAW_OSErrData.h"
#include "Cmn/MA_OSErrData.h"
#include "Sys/Sys_Int32ErrData.h"
#include "Sys/Sys_OSErrData.h"
