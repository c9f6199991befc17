// Every exception code against its exact text: alone, with a context, and
// after a clone has been thrown again on another thread.

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "Cmn/Cmn_Exception.h"

namespace
{

struct CodeCase
{
    char const* name;
    XC_BaseExceptionCode const* code;
    std::function<Cmn_Exception*()> make;
    std::string text;
};

template <class T>
CodeCase MakeCase(char const* name, XC_TypedExceptionCode<T> const& code, T const& data, std::string text)
{
    return {name, &code, [&code, data]() -> Cmn_Exception* { return Cmn_TypedException<T>::New(code, data).Clone(); },
            std::move(text)};
}

#define CASE(code, data, text) MakeCase(#code, code, data, text)

std::vector<CodeCase> const& AllCodes()
{
    static std::vector<CodeCase> const cases = {
        CASE(XC_Cmn_ANSIexception, Cmn_TStringXData("x"), "ANSI exception: x"),
        CASE(XC_Cmn_TextAssert, Cmn_TStringXData("x"), "Assertion: x"),
        CASE(XC_Cmn_ExceptionContext, Cmn_TStringXData("x"), "x"),
        CASE(XC_Cmn_EndOfFile, Cmn_NullExceptionData(), "End of file"),
        CASE(XC_Sys_SystemError, Sys_OSErrData(ENOENT), "Sys: OSErr: 2: No such file or directory"),
        CASE(XC_Sys_Error, Sys_Int32ErrData(-5), "Sys: Err: -5"),
        CASE(XC_Sys_BadStartLoc, Cmn_NullExceptionData(), "Sys: Bad start location for search"),
        CASE(XC_Sys_FileAlreadyOpen, Cmn_NullExceptionData(), "Sys: File is already open"),
        CASE(XC_Sys_VolumeIsNotMounted, Cmn_NullExceptionData(), "Sys: Volume is not mounted"),
        CASE(XC_Sys_UnknownException, Cmn_NullExceptionData(), "An unknown exception occurred"),
        CASE(XC_FF_FileTypeNotSupported, Cmn_NullExceptionData(), "FF: file type not supported"),
        CASE(XC_FF_FileMustBeOpen, Cmn_NullExceptionData(), "FF: file must be open to execute method"),
        CASE(XC_FF_RequestedReadWhileWriting, Cmn_NullExceptionData(),
             "FF: attempt to open file for read while it is open for write"),
        CASE(XC_FF_RequestedWriteWhileReading, Cmn_NullExceptionData(),
             "FF: attempt to open file for write while it is open for read"),
        CASE(XC_FF_RequestedWriteWhileWriting, Cmn_NullExceptionData(),
             "FF: attempt to open file for write while it is open for write"),
        CASE(XC_FF_PlugIn_IOError, Cmn_NullExceptionData(), "FF: I/O error in plug-in"),
        CASE(XC_FF_PlugIn_BadParameter, Cmn_NullExceptionData(), "FF: bad parameter passed to plug-in"),
        CASE(XC_FF_PlugIn_Unimplemented, Cmn_NullExceptionData(), "FF: call to unimplemented plug-in method"),
        CASE(XC_FF_PlugIn_CorruptFile, Cmn_NullExceptionData(), "FF: corrupt file"),
        CASE(XC_FF_PlugIn_BadHRESULT, Cmn_NullExceptionData(), "FF: plug-in returned invalid HRESULT"),
        CASE(XC_FF_PlugIn_Failed, Cmn_NullExceptionData(), "FF: call to plug-in failed"),
        CASE(XC_FF_PlugIn_LoadFailed, Cmn_NullExceptionData(), "FF: load of plug-ins failed"),
        CASE(XC_FF_PlugIn_Unexpected, Cmn_NullExceptionData(), "FF: unexpected error in plug-ing"),
        CASE(XC_MA_SystemErrorWithMessage, MA_OSErrData(ENOENT), "MA OSErr"),
        CASE(XC_MMgr_OutOfMemory, Cmn_NullExceptionData(), "MMgr out of memory"),
        CASE(XC_MMgr_AssertionFailure, Cmn_NullExceptionData(),
             "MMgr failed test <assert> in file <file> at line <line>"),
        CASE(XC_MMgr_ArgCheckFailure, Cmn_NullExceptionData(),
             "MMgr found bad param <assert> in file <file> at line <line>"),
        CASE(XC_DAW_SystemError, DAW_OSErrData(ENOENT), "No such file or directory"),
        CASE(XC_DAW_ImageResourceMissing, DAW_Int32ErrData(7), "Couldn't find image resource #7"),
        CASE(XC_DAW_WhileInitializingApp, Cmn_NullExceptionData(), "While initializing the application"),
        CASE(XC_DAW_WhileCreatingWindow, Cmn_NullExceptionData(), "While creating window"),
        CASE(XC_DAW_CouldntGetDC, Cmn_NullExceptionData(), "Couldn't get device context"),
        CASE(XC_DAW_CouldntCreateChildWindow, Cmn_NullExceptionData(), "Couldn't create child window"),
        CASE(XC_DAW_CouldntCreateMainMenuWindow, Cmn_NullExceptionData(), "Couldn't create main menu window"),
        CASE(XC_DAW_TriedToCreateMainMenuWindowTwice, Cmn_NullExceptionData(),
             "Tried to create main menu window twice"),
        CASE(XC_DAW_WhileCreatingOffscreen, Cmn_NullExceptionData(), "While creating offscreen"),
        CASE(XC_DAW_WhileCreatingImage, Cmn_NullExceptionData(), "While creating image"),
        CASE(XC_DAW_EmptyBitMapFile, Cmn_NullExceptionData(), "Empty bitmap file"),
        CASE(XC_DAW_InvalidBitMap, Cmn_NullExceptionData(), "Invalid bitmap file"),
        CASE(XC_DAW_CannotCompressDIB, Cmn_NullExceptionData(), "Cannot compress DIB"),
        CASE(XC_DAW_WhileCreatingPen, Cmn_NullExceptionData(), "While creating pen"),
        CASE(XC_DAW_WhileCreatingBrush, Cmn_NullExceptionData(), "While creating brush"),
        CASE(XC_DAW_WhileCreatingFont, Cmn_NullExceptionData(), "While creating font"),
        CASE(XC_DAW_WhileCreatingCursor, Cmn_NullExceptionData(), "While creating cursor"),
        CASE(XC_DAW_WhileCreatingMenu, Cmn_NullExceptionData(), "While creating menu"),
        CASE(XC_DAW_WhileCreatingPopupMenu, Cmn_NullExceptionData(), "While creating popup menu"),
        CASE(XC_DAW_CannotOpenFile, Cmn_NullExceptionData(), "Cannot open file"),
        CASE(XC_DAW_ErrorWritingFile, Cmn_NullExceptionData(), "Error writing file"),
        CASE(XC_DAW_ErrorReadingFile, Cmn_NullExceptionData(), "Error reading file"),
        CASE(XC_DAW_SE_AccessViolation, Cmn_NullExceptionData(), "Access violation occured"),
        CASE(XC_DAW_SE_DataTypeMisalignment, Cmn_NullExceptionData(), "Data type misalignment occured"),
        CASE(XC_DAW_SE_ArrayBoundsExceeded, Cmn_NullExceptionData(), "Array bounds exceeded"),
        CASE(XC_DAW_SE_FloatDenormalOperand, Cmn_NullExceptionData(),
             "Floating point error occured (denormal operand)"),
        CASE(XC_DAW_SE_FloatDivideByZero, Cmn_NullExceptionData(), "Floating point error occured (divide by zero)"),
        CASE(XC_DAW_SE_FloatInexactResult, Cmn_NullExceptionData(), "Floating point error occured (inexact result)"),
        CASE(XC_DAW_SE_FloatInvalidOperation, Cmn_NullExceptionData(),
             "Floating point error occured (invalid operation)"),
        CASE(XC_DAW_SE_FloatOverflow, Cmn_NullExceptionData(), "Floating point error occured (overflow)"),
        CASE(XC_DAW_SE_FloatStackCheck, Cmn_NullExceptionData(), "Floating point error occured (stack check)"),
        CASE(XC_DAW_SE_FloatUnderflow, Cmn_NullExceptionData(), "Floating point error occured (underflow)"),
        CASE(XC_DAW_SE_IntegerDivideByZero, Cmn_NullExceptionData(), "Integer error occured (divide by zero)"),
        CASE(XC_DAW_SE_IntegerOverflow, Cmn_NullExceptionData(), "Integer error occured (overflow)"),
        CASE(XC_DAW_SE_PriviledgedInstruction, Cmn_NullExceptionData(),
             "Priviledged instruction executed in user mode"),
        CASE(XC_DAW_SE_InPageError, Cmn_NullExceptionData(), "In page error occured"),
        CASE(XC_DAW_SE_IllegalInstruction, Cmn_NullExceptionData(), "Illegal instruction attempted"),
        CASE(XC_DAW_SE_NoncontinuableException, Cmn_NullExceptionData(), "Noncontinuable exception occured"),
        CASE(XC_DAW_SE_StackOverflow, Cmn_NullExceptionData(), "Stack overflow occured"),
        CASE(XC_DAW_SE_InvalidDisposition, Cmn_NullExceptionData(), "Invalid disposition occured"),
        CASE(XC_DAW_SE_GuardPageVialation, Cmn_NullExceptionData(), "Guard page violation occured"),
        CASE(XC_DAW_SE_InvalidHandle, Cmn_NullExceptionData(), "Invalid handle was used"),
        CASE(XC_SYS_SE_AccessViolation, Cmn_NullExceptionData(), "Access violation occurred"),
        CASE(XC_SYS_SE_DataTypeMisalignment, Cmn_NullExceptionData(), "Data type misalignment occurred"),
        CASE(XC_SYS_SE_ArrayBoundsExceeded, Cmn_NullExceptionData(), "Array bounds exceeded"),
        CASE(XC_SYS_SE_FloatDenormalOperand, Cmn_NullExceptionData(),
             "Floating point error occurred (denormal operand)"),
        CASE(XC_SYS_SE_FloatDivideByZero, Cmn_NullExceptionData(), "Floating point error occurred (divide by zero)"),
        CASE(XC_SYS_SE_FloatInexactResult, Cmn_NullExceptionData(), "Floating point error occurred (inexact result)"),
        CASE(XC_SYS_SE_FloatInvalidOperation, Cmn_NullExceptionData(),
             "Floating point error occurred (invalid operation)"),
        CASE(XC_SYS_SE_FloatOverflow, Cmn_NullExceptionData(), "Floating point error occurred (overflow)"),
        CASE(XC_SYS_SE_FloatStackCheck, Cmn_NullExceptionData(), "Floating point error occurred (stack check)"),
        CASE(XC_SYS_SE_FloatUnderflow, Cmn_NullExceptionData(), "Floating point error occurred (underflow)"),
        CASE(XC_SYS_SE_IntegerDivideByZero, Cmn_NullExceptionData(), "Integer error occurred (divide by zero)"),
        CASE(XC_SYS_SE_IntegerOverflow, Cmn_NullExceptionData(), "Integer error occurred (overflow)"),
        CASE(XC_SYS_SE_PriviledgedInstruction, Cmn_NullExceptionData(),
             "Priviledged instruction executed in user mode"),
        CASE(XC_SYS_SE_InPageError, Cmn_NullExceptionData(), "In page error occurred"),
        CASE(XC_SYS_SE_IllegalInstruction, Cmn_NullExceptionData(), "Illegal instruction attempted"),
        CASE(XC_SYS_SE_NoncontinuableException, Cmn_NullExceptionData(), "Noncontinuable exception occurred"),
        CASE(XC_SYS_SE_StackOverflow, Cmn_NullExceptionData(), "Stack overflow occurred"),
        CASE(XC_SYS_SE_InvalidDisposition, Cmn_NullExceptionData(), "Invalid disposition occurred"),
        CASE(XC_SYS_SE_GuardPageVialation, Cmn_NullExceptionData(), "Guard page violation occurred"),
        CASE(XC_SYS_SE_InvalidHandle, Cmn_NullExceptionData(), "Invalid handle was used"),
    };
    return cases;
}

Cmn_ExceptionDescription* NewTextContext(std::string const& text)
{
    return new Cmn_TypedExceptionContext<Cmn_TStringXData>(XC_Cmn_ExceptionContext, Cmn_TStringXData(text));
}

// What arrived on the other thread after Throw() of a clone.
struct Rethrown
{
    bool caught = false;
    bool sameType = false;
    bool sameCode = false;
    std::string full;
};

Rethrown ThrowOnOtherThread(std::unique_ptr<Cmn_Exception> clone, std::type_info const& expectedType,
                            XC_BaseExceptionCode const& expectedCode)
{
    Rethrown result;
    std::thread(
        [&]
        {
            try
            {
                clone->Throw();
            }
            catch (Cmn_Exception const& e)
            {
                result.caught = true;
                result.sameType = typeid(e) == expectedType;
                result.sameCode = e.GetCode() == expectedCode;
                result.full = e.GetFullDescription();
            }
        })
        .join();
    return result;
}

} // namespace

TEST(Cmn_ExceptionCodes, TextOfEveryCodeAloneWithContextsAndRethrownElsewhere)
{
    ASSERT_EQ(AllCodes().size(), 89u);
    for (CodeCase const& c : AllCodes())
    {
        SCOPED_TRACE(c.name);
        std::unique_ptr<Cmn_Exception> e(c.make());
        EXPECT_TRUE(e->GetCode() == *c.code);
        EXPECT_EQ(e->GetDescription(), c.text);
        EXPECT_STREQ(e->what(), c.text.c_str());
        EXPECT_EQ(e->GetFullDescription(), c.text);

        e->AddContext(NewTextContext("while reading"));
        e->AddContext(NewTextContext("while converting"));
        std::string const full = c.text + "\nwhile reading\nwhile converting";
        EXPECT_STREQ(e->what(), c.text.c_str()) << "contexts are not part of what()";
        EXPECT_EQ(e->GetFullDescription(), full);

        Cmn_Exception const& original = *e;
        Rethrown r = ThrowOnOtherThread(std::unique_ptr<Cmn_Exception>(original.Clone()), typeid(original), *c.code);
        EXPECT_TRUE(r.caught);
        EXPECT_TRUE(r.sameType);
        EXPECT_TRUE(r.sameCode);
        EXPECT_EQ(r.full, full);
    }
}

// Also run in the optimised build, where equal literals would be merged.
TEST(Cmn_ExceptionCodes, AllCodesAreDistinctEvenWithEqualText)
{
    std::vector<CodeCase> const& cases = AllCodes();
    int equalTextPairs = 0;
    for (std::size_t i = 0; i < cases.size(); ++i)
    {
        for (std::size_t j = i + 1; j < cases.size(); ++j)
        {
            SCOPED_TRACE(std::string(cases[i].name) + " vs " + cases[j].name);
            EXPECT_TRUE(*cases[i].code != *cases[j].code);
            EXPECT_FALSE(*cases[i].code == *cases[j].code);
            if (cases[i].code->GetString() == cases[j].code->GetString())
                ++equalTextPairs;
        }
    }
    EXPECT_EQ(equalTextPairs, 4) << "the SE_ families share four texts";
    EXPECT_TRUE(XC_DAW_SE_InvalidHandle != XC_SYS_SE_InvalidHandle);
    EXPECT_TRUE(XC_DAW_SE_AccessViolation != XC_SYS_SE_AccessViolation);
}
