// Exceptions: the text made from a code's template and its record, once and
// shared by copies; contexts; the stack dump; every code against its exact
// text, alone, with a context, and after a clone has been thrown again on
// another thread; the records' attributes and the throwing of system errors.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_StackDumpNull.h"
#include "Cmn/DAW_ThrowIfOSErr.h"
#include "Sys/Sys_ThrowIfOSErr.h"

namespace
{

// Answers one attribute; counts how often it is asked, so that tests can see
// when the text is really made.
class MapData : public Cmn_ExceptionData
{
public:
    MapData(std::string name, std::string value) : mName(std::move(name)), mValue(std::move(value)) {}
    void PrintAttr(std::string const& name, std::ostream& os) const override
    {
        sCalls.fetch_add(1);
        if (name == mName)
            os << mValue;
    }
    static inline std::atomic<int> sCalls{0};

private:
    std::string mName;
    std::string mValue;
};

XC_TypedExceptionCode<MapData> const kCounted("counted <n>");

Cmn_ExceptionDescription* NewTextContext(std::string const& text)
{
    return new Cmn_TypedExceptionContext<Cmn_TStringXData>(XC_Cmn_ExceptionContext, Cmn_TStringXData(text));
}

std::vector<std::string> ContextTexts(Cmn_Exception const& e)
{
    std::vector<std::string> texts;
    for (auto it = e.GetContextListBegin(); it != e.GetContextListEnd(); ++it)
        texts.push_back((*it)->GetDescription());
    return texts;
}

} // namespace

TEST(Cmn_Exception, FillsPlaceholdersFromTheRecord)
{
    struct Case
    {
        char const* tmpl;
        char const* x;
        char const* expected;
    };
    Case const cases[] = {
        {"a <x> b", "1", "a 1 b"},
        {"<x><x>", "1", "11"},
        {"a <unknown> <x>", "1", "a <unknown> 1"},
        {"<x", "1", "<x"},
        {"<x> and <x", "1", "1 and <x"},
        {"a > <x>", "1", "a > 1"},
        {"<<x>", "1", "<<x>"},
        {"<x> tail", "<x>", "<x> tail"}, // inserted text is not scanned again
        {"<x><x>", "<x", "<x<x"},        // nor joined with what follows
        {"<x>", "", "<x>"},              // an empty answer leaves the placeholder
        {"", "1", ""},
        {"no placeholders", "1", "no placeholders"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.tmpl);
        XC_TypedExceptionCode<MapData> const code(c.tmpl);
        Cmn_TypedExceptionContext<MapData> const d(code, MapData("x", c.x));
        EXPECT_EQ(d.GetDescription(), c.expected);
    }
}

// The text is made only when asked for, once, however many threads ask at
// once, and copies share it.
TEST(Cmn_Exception, TextIsMadeOnlyWhenAskedAndOnceForAllCopiesAndThreads)
{
    MapData::sCalls = 0;
    try
    {
        try
        {
            throw Cmn_TypedException<MapData>::New(kCounted, MapData("n", "7"));
        }
        catch (Cmn_Exception& e)
        {
            Cmn_AddExceptionContext(&e, NewTextContext("ctx"));
            throw;
        }
    }
    catch (Cmn_Exception const& e)
    {
        EXPECT_EQ(MapData::sCalls, 0);
        auto copy = dynamic_cast<Cmn_TypedException<MapData> const&>(e);
        std::atomic<bool> go{false};
        std::vector<char const*> seen(8, nullptr);
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < seen.size(); ++i)
            threads.emplace_back(
                [&, i]
                {
                    while (!go.load())
                        std::this_thread::yield();
                    seen[i] = i % 2 ? copy.what() : e.what();
                });
        go = true;
        for (auto& t : threads)
            t.join();
        for (char const* p : seen)
            EXPECT_EQ(p, seen[0]) << "copies share the cached text";
        EXPECT_STREQ(seen[0], "counted 7");
        EXPECT_EQ(e.what(), seen[0]) << "same pointer on repeated calls";
        EXPECT_EQ(MapData::sCalls, 1);
    }
}

TEST(Cmn_Exception, CopiesKeepTheContextsTheyHad)
{
    auto a = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Cmn_EndOfFile, Cmn_NullExceptionData());
    a.AddContext(NewTextContext("first"));
    char const* text = a.what();
    {
        auto b = a;
        b.AddContext(NewTextContext("second"));
        EXPECT_EQ(ContextTexts(a), std::vector<std::string>{"first"});
        EXPECT_EQ(ContextTexts(b), (std::vector<std::string>{"first", "second"}));
        EXPECT_STREQ(b.what(), "End of file");
        a.AddContext(NewTextContext("third"));
        EXPECT_EQ(ContextTexts(b), (std::vector<std::string>{"first", "second"}));
    }
    // b is gone and took its share of "first" with it; a's contexts still live.
    EXPECT_EQ(ContextTexts(a), (std::vector<std::string>{"first", "third"}));
    EXPECT_EQ(a.what(), text);

    auto c = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Cmn_EndOfFile, Cmn_NullExceptionData());
    c = a;
    a = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_FF_PlugIn_Failed, Cmn_NullExceptionData());
    EXPECT_EQ(ContextTexts(c), (std::vector<std::string>{"first", "third"}));
    EXPECT_TRUE(a.GetContextListBegin() == a.GetContextListEnd());
    EXPECT_STREQ(a.what(), "FF: call to plug-in failed");
}

// At a context boundary a foreign exception becomes an ANSI exception; one of
// ours gets the context and goes on.
TEST(Cmn_Exception, AtAContextBoundaryAForeignExceptionIsReplacedAndOursGoesOn)
{
    struct Case
    {
        char const* name;
        std::function<void()> raise;
        XC_BaseExceptionCode const* code;
        char const* full;
    };
    Case const cases[] = {
        {"foreign", [] { throw std::runtime_error("x"); }, &XC_Cmn_ANSIexception, "ANSI exception: x\nwhile loading"},
        {"ours", [] { throw Cmn_TypedException<Sys_Int32ErrData>::New(XC_Sys_Error, Sys_Int32ErrData(3)); },
         &XC_Sys_Error, "Sys: Err: 3\nwhile loading"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        try
        {
            try
            {
                c.raise();
            }
            catch (std::exception& e)
            {
                Cmn_AddExceptionContext(&e, NewTextContext("while loading"));
                throw;
            }
        }
        catch (Cmn_Exception const& e)
        {
            EXPECT_TRUE(e.GetCode() == *c.code);
            EXPECT_EQ(e.GetFullDescription(), c.full);
            continue;
        }
        catch (...)
        {
        }
        ADD_FAILURE() << "not one of ours";
    }
}

namespace
{
class CountingDump : public Cmn_StackDump
{
public:
    void Print(std::ostream& os) const override { os << "dump"; }
    Cmn_StackDump* Clone() const override
    {
        ++sClones;
        return new CountingDump();
    }
    static Cmn_StackDump* Make()
    {
        ++sCreated;
        return new CountingDump();
    }
    static CreateMethod Install(CreateMethod method) { return SetCreateMethod(method); }
    static inline int sCreated = 0;
    static inline int sClones = 0;
};
} // namespace

TEST(Cmn_Exception, StackDumpIsEmptyUntilAMethodIsInstalled)
{
    auto plain = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Cmn_EndOfFile, Cmn_NullExceptionData());
    ASSERT_NE(plain.GetStackDump(), nullptr);
    EXPECT_NE(dynamic_cast<Cmn_StackDumpNull const*>(plain.GetStackDump()), nullptr);
    std::ostringstream printed;
    plain.GetStackDump()->Print(printed);
    EXPECT_EQ(printed.str(), "");

    CountingDump::sCreated = CountingDump::sClones = 0;
    Cmn_StackDump::CreateMethod const previous = CountingDump::Install(&CountingDump::Make);
    auto captured = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Cmn_EndOfFile, Cmn_NullExceptionData());
    EXPECT_EQ(CountingDump::Install(previous), &CountingDump::Make);
    EXPECT_EQ(CountingDump::sCreated, 1);
    EXPECT_NE(dynamic_cast<CountingDump const*>(captured.GetStackDump()), nullptr);

    auto copy = captured;
    EXPECT_EQ(CountingDump::sClones, 1);
    EXPECT_NE(copy.GetStackDump(), captured.GetStackDump());

    auto* given = new CountingDump();
    auto withGiven = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_Cmn_EndOfFile, Cmn_NullExceptionData(), given);
    EXPECT_EQ(withGiven.GetStackDump(), given);
    EXPECT_EQ(CountingDump::sCreated, 1);
}

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
// A code whose record holds nothing.
#define PLAIN(code, text) CASE(code, Cmn_NullExceptionData(), text)

std::vector<CodeCase> const& AllCodes()
{
    static std::vector<CodeCase> const cases = {
        CASE(XC_Cmn_ANSIexception, Cmn_TStringXData("x"), "ANSI exception: x"),
        CASE(XC_Cmn_TextAssert, Cmn_TStringXData("x"), "Assertion: x"),
        CASE(XC_Cmn_ExceptionContext, Cmn_TStringXData("x"), "x"),
        PLAIN(XC_Cmn_EndOfFile, "End of file"),
        CASE(XC_Sys_SystemError, Sys_OSErrData(ENOENT), "Sys: OSErr: 2: No such file or directory"),
        CASE(XC_Sys_Error, Sys_Int32ErrData(-5), "Sys: Err: -5"),
        PLAIN(XC_Sys_BadStartLoc, "Sys: Bad start location for search"),
        PLAIN(XC_Sys_FileAlreadyOpen, "Sys: File is already open"),
        PLAIN(XC_Sys_VolumeIsNotMounted, "Sys: Volume is not mounted"),
        PLAIN(XC_Sys_UnknownException, "An unknown exception occurred"),
        PLAIN(XC_FF_FileTypeNotSupported, "FF: file type not supported"),
        PLAIN(XC_FF_FileMustBeOpen, "FF: file must be open to execute method"),
        PLAIN(XC_FF_RequestedReadWhileWriting, "FF: attempt to open file for read while it is open for write"),
        PLAIN(XC_FF_RequestedWriteWhileReading, "FF: attempt to open file for write while it is open for read"),
        PLAIN(XC_FF_RequestedWriteWhileWriting, "FF: attempt to open file for write while it is open for write"),
        PLAIN(XC_FF_PlugIn_IOError, "FF: I/O error in plug-in"),
        PLAIN(XC_FF_PlugIn_BadParameter, "FF: bad parameter passed to plug-in"),
        PLAIN(XC_FF_PlugIn_Unimplemented, "FF: call to unimplemented plug-in method"),
        PLAIN(XC_FF_PlugIn_CorruptFile, "FF: corrupt file"),
        PLAIN(XC_FF_PlugIn_BadHRESULT, "FF: plug-in returned invalid HRESULT"),
        PLAIN(XC_FF_PlugIn_Failed, "FF: call to plug-in failed"),
        PLAIN(XC_FF_PlugIn_LoadFailed, "FF: load of plug-ins failed"),
        PLAIN(XC_FF_PlugIn_Unexpected, "FF: unexpected error in plug-ing"),
        CASE(XC_MA_SystemErrorWithMessage, MA_OSErrData(ENOENT), "MA OSErr"),
        PLAIN(XC_MMgr_OutOfMemory, "MMgr out of memory"),
        PLAIN(XC_MMgr_AssertionFailure, "MMgr failed test <assert> in file <file> at line <line>"),
        PLAIN(XC_MMgr_ArgCheckFailure, "MMgr found bad param <assert> in file <file> at line <line>"),
        CASE(XC_DAW_SystemError, DAW_OSErrData(ENOENT), "No such file or directory"),
        CASE(XC_DAW_ImageResourceMissing, DAW_Int32ErrData(7), "Couldn't find image resource #7"),
        PLAIN(XC_DAW_WhileInitializingApp, "While initializing the application"),
        PLAIN(XC_DAW_WhileCreatingWindow, "While creating window"),
        PLAIN(XC_DAW_CouldntGetDC, "Couldn't get device context"),
        PLAIN(XC_DAW_CouldntCreateChildWindow, "Couldn't create child window"),
        PLAIN(XC_DAW_CouldntCreateMainMenuWindow, "Couldn't create main menu window"),
        PLAIN(XC_DAW_TriedToCreateMainMenuWindowTwice, "Tried to create main menu window twice"),
        PLAIN(XC_DAW_WhileCreatingOffscreen, "While creating offscreen"),
        PLAIN(XC_DAW_WhileCreatingImage, "While creating image"),
        PLAIN(XC_DAW_EmptyBitMapFile, "Empty bitmap file"),
        PLAIN(XC_DAW_InvalidBitMap, "Invalid bitmap file"),
        PLAIN(XC_DAW_CannotCompressDIB, "Cannot compress DIB"),
        PLAIN(XC_DAW_WhileCreatingPen, "While creating pen"),
        PLAIN(XC_DAW_WhileCreatingBrush, "While creating brush"),
        PLAIN(XC_DAW_WhileCreatingFont, "While creating font"),
        PLAIN(XC_DAW_WhileCreatingCursor, "While creating cursor"),
        PLAIN(XC_DAW_WhileCreatingMenu, "While creating menu"),
        PLAIN(XC_DAW_WhileCreatingPopupMenu, "While creating popup menu"),
        PLAIN(XC_DAW_CannotOpenFile, "Cannot open file"),
        PLAIN(XC_DAW_ErrorWritingFile, "Error writing file"),
        PLAIN(XC_DAW_ErrorReadingFile, "Error reading file"),
        PLAIN(XC_DAW_SE_AccessViolation, "Access violation occured"),
        PLAIN(XC_DAW_SE_DataTypeMisalignment, "Data type misalignment occured"),
        PLAIN(XC_DAW_SE_ArrayBoundsExceeded, "Array bounds exceeded"),
        PLAIN(XC_DAW_SE_FloatDenormalOperand, "Floating point error occured (denormal operand)"),
        PLAIN(XC_DAW_SE_FloatDivideByZero, "Floating point error occured (divide by zero)"),
        PLAIN(XC_DAW_SE_FloatInexactResult, "Floating point error occured (inexact result)"),
        PLAIN(XC_DAW_SE_FloatInvalidOperation, "Floating point error occured (invalid operation)"),
        PLAIN(XC_DAW_SE_FloatOverflow, "Floating point error occured (overflow)"),
        PLAIN(XC_DAW_SE_FloatStackCheck, "Floating point error occured (stack check)"),
        PLAIN(XC_DAW_SE_FloatUnderflow, "Floating point error occured (underflow)"),
        PLAIN(XC_DAW_SE_IntegerDivideByZero, "Integer error occured (divide by zero)"),
        PLAIN(XC_DAW_SE_IntegerOverflow, "Integer error occured (overflow)"),
        PLAIN(XC_DAW_SE_PriviledgedInstruction, "Priviledged instruction executed in user mode"),
        PLAIN(XC_DAW_SE_InPageError, "In page error occured"),
        PLAIN(XC_DAW_SE_IllegalInstruction, "Illegal instruction attempted"),
        PLAIN(XC_DAW_SE_NoncontinuableException, "Noncontinuable exception occured"),
        PLAIN(XC_DAW_SE_StackOverflow, "Stack overflow occured"),
        PLAIN(XC_DAW_SE_InvalidDisposition, "Invalid disposition occured"),
        PLAIN(XC_DAW_SE_GuardPageVialation, "Guard page violation occured"),
        PLAIN(XC_DAW_SE_InvalidHandle, "Invalid handle was used"),
        PLAIN(XC_SYS_SE_AccessViolation, "Access violation occurred"),
        PLAIN(XC_SYS_SE_DataTypeMisalignment, "Data type misalignment occurred"),
        PLAIN(XC_SYS_SE_ArrayBoundsExceeded, "Array bounds exceeded"),
        PLAIN(XC_SYS_SE_FloatDenormalOperand, "Floating point error occurred (denormal operand)"),
        PLAIN(XC_SYS_SE_FloatDivideByZero, "Floating point error occurred (divide by zero)"),
        PLAIN(XC_SYS_SE_FloatInexactResult, "Floating point error occurred (inexact result)"),
        PLAIN(XC_SYS_SE_FloatInvalidOperation, "Floating point error occurred (invalid operation)"),
        PLAIN(XC_SYS_SE_FloatOverflow, "Floating point error occurred (overflow)"),
        PLAIN(XC_SYS_SE_FloatStackCheck, "Floating point error occurred (stack check)"),
        PLAIN(XC_SYS_SE_FloatUnderflow, "Floating point error occurred (underflow)"),
        PLAIN(XC_SYS_SE_IntegerDivideByZero, "Integer error occurred (divide by zero)"),
        PLAIN(XC_SYS_SE_IntegerOverflow, "Integer error occurred (overflow)"),
        PLAIN(XC_SYS_SE_PriviledgedInstruction, "Priviledged instruction executed in user mode"),
        PLAIN(XC_SYS_SE_InPageError, "In page error occurred"),
        PLAIN(XC_SYS_SE_IllegalInstruction, "Illegal instruction attempted"),
        PLAIN(XC_SYS_SE_NoncontinuableException, "Noncontinuable exception occurred"),
        PLAIN(XC_SYS_SE_StackOverflow, "Stack overflow occurred"),
        PLAIN(XC_SYS_SE_InvalidDisposition, "Invalid disposition occurred"),
        PLAIN(XC_SYS_SE_GuardPageVialation, "Guard page violation occurred"),
        PLAIN(XC_SYS_SE_InvalidHandle, "Invalid handle was used"),
    };
    return cases;
}

} // namespace

// Every code's text, and every code apart from every other: also run in the
// optimised build, where equal literals would be merged.
TEST(Cmn_ExceptionCodes, TextOfEveryCodeAloneWithContextsAndRethrownElsewhere)
{
    std::vector<CodeCase> const& cases = AllCodes();
    ASSERT_EQ(cases.size(), 89u);
    int equalTextPairs = 0;
    for (std::size_t i = 0; i < cases.size(); ++i)
    {
        CodeCase const& c = cases[i];
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

        // A clone thrown on another thread arrives as the same type and code.
        std::unique_ptr<Cmn_Exception> const clone(e->Clone());
        Cmn_Exception const& original = *e;
        bool sameType = false, sameCode = false;
        std::string rethrown = "not caught";
        std::thread(
            [&]
            {
                try
                {
                    clone->Throw();
                }
                catch (Cmn_Exception const& t)
                {
                    sameType = typeid(t) == typeid(original);
                    sameCode = t.GetCode() == *c.code;
                    rethrown = t.GetFullDescription();
                }
            })
            .join();
        EXPECT_TRUE(sameType);
        EXPECT_TRUE(sameCode);
        EXPECT_EQ(rethrown, full);

        for (std::size_t j = i + 1; j < cases.size(); ++j)
        {
            SCOPED_TRACE(std::string("vs ") + cases[j].name);
            EXPECT_TRUE(*c.code != *cases[j].code);
            EXPECT_FALSE(*c.code == *cases[j].code);
            equalTextPairs += c.code->GetString() == cases[j].code->GetString();
        }
    }
    EXPECT_EQ(equalTextPairs, 4) << "the SE_ families share four texts";
    EXPECT_TRUE(XC_DAW_SE_InvalidHandle != XC_SYS_SE_InvalidHandle);
    EXPECT_TRUE(XC_DAW_SE_AccessViolation != XC_SYS_SE_AccessViolation);
}

namespace
{
template <class T> std::string Attr(T const& data, std::string const& name)
{
    std::ostringstream os;
    data.PrintAttr(name, os);
    return os.str();
}

template <class T> std::string Text(XC_TypedExceptionCode<T> const& code, T const& data)
{
    return Cmn_TypedException<T>::New(code, data).what();
}
} // namespace

TEST(Cmn_ExceptionData, EachRecordAnswersItsAttributeOnly)
{
    struct Case
    {
        std::string printed;
        char const* expected;
    };
    Case const cases[] = {
        {Attr(Cmn_NullExceptionData(), "str"), ""},
        {Attr(Cmn_TStringXData("a <b>"), "str"), "a <b>"},
        {Attr(Cmn_TStringXData("a"), "value"), ""},
        {Attr(Sys_Int32ErrData(-5), "value"), "-5"},
        {Attr(Sys_Int32ErrData(-5), "err"), ""},
        {Attr(DAW_Int32ErrData(2147483647), "value"), "2147483647"},
        {Attr(Sys_OSErrData(ENOENT), "err"), "2: No such file or directory"},
        {Attr(Sys_OSErrData(0), "err"), "0: Success"},
        {Attr(Sys_OSErrData(4000), "err"), "4000: Unknown error"},
        {Attr(Sys_OSErrData(-5), "err"), "-5"},
        {Attr(Sys_OSErrData(-2147483647 - 1), "err"), "-2147483648"},
        {Attr(Sys_OSErrData(ENOENT), "value"), ""},
        {Attr(DAW_OSErrData(EACCES), "err"), "Permission denied"},
        {Attr(DAW_OSErrData(4000), "err"), ""},
        {Attr(DAW_OSErrData(-5), "err"), ""},
        {Attr(MA_OSErrData(ENOENT), "err"), "2: No such file or directory"},
        // In their templates; with no text at all the placeholder stays.
        {Text(XC_Sys_SystemError, Sys_OSErrData(-5)), "Sys: OSErr: -5"},
        {Text(XC_Sys_SystemError, Sys_OSErrData(4000)), "Sys: OSErr: 4000: Unknown error"},
        {Text(XC_DAW_SystemError, DAW_OSErrData(EACCES)), "Permission denied"},
        {Text(XC_DAW_SystemError, DAW_OSErrData(4000)), "<err>"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        SCOPED_TRACE(testing::Message() << "case " << i);
        EXPECT_EQ(cases[i].printed, cases[i].expected);
    }
}

// The error number of the system error that action throws, of either
// family; nothing if it throws nothing.
template <class Data>
std::optional<std::int32_t> ErrOf(XC_TypedExceptionCode<Data> const& code, std::function<void()> const& action)
{
    try
    {
        action();
    }
    catch (Cmn_TypedException<Data> const& e)
    {
        return e.GetCode() == code ? e.GetData().GetErr() : -999;
    }
    return std::nullopt;
}

// Sys_ThrowIfOSErr throws for an error, unless a result says the call
// worked; DAW_ThrowIfOSErr only for a null result.
TEST(Cmn_ExceptionData, ThrowIfOSErrThrowsOnlyForAFailure)
{
    int handle = 0;
    struct Case
    {
        char const* name;
        bool daw; // which family the error is of
        std::function<void()> action;
        std::optional<std::int32_t> thrown;
    };
    Case const cases[] = {
        {"no error", false, [] { Sys_ThrowIfOSErr(0); }, std::nullopt},
        {"an error", false, [] { Sys_ThrowIfOSErr(5); }, 5},
        {"a negative error", false, [] { Sys_ThrowIfOSErr(-1); }, -1},
        {"an error and result 1", false, [] { Sys_ThrowIfOSErr(5, 1); }, std::nullopt},
        {"an error and result 0", false, [] { Sys_ThrowIfOSErr(5, 0); }, 5},
        {"no error and result 0", false, [] { Sys_ThrowIfOSErr(0, 0); }, std::nullopt},
        {"an error and result -1", false, [] { Sys_ThrowIfOSErr(5, -1); }, std::nullopt},
        {"DAW: an error and no result", true, [] { DAW_ThrowIfOSErr(5, nullptr); }, 5},
        {"DAW: an error and a result", true, [&] { DAW_ThrowIfOSErr(5, &handle); }, std::nullopt},
        {"DAW: no error and no result", true, [] { DAW_ThrowIfOSErr(0, nullptr); }, std::nullopt},
        {"DAW: no error and a result", true, [&] { DAW_ThrowIfOSErr(0, &handle); }, std::nullopt},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.daw ? ErrOf(XC_DAW_SystemError, c.action) : ErrOf(XC_Sys_SystemError, c.action), c.thrown);
    }
}
