#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_StackDumpNull.h"

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

TEST(Cmn_Exception, TextIsMadeOnlyWhenAskedAndOnceForAllCopies)
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
        char const* first = e.what();
        EXPECT_STREQ(first, "counted 7");
        EXPECT_EQ(MapData::sCalls, 1);
        EXPECT_EQ(e.what(), first) << "same pointer on repeated calls";
        EXPECT_EQ(copy.what(), first) << "copies share the cached text";
        EXPECT_EQ(MapData::sCalls, 1);
    }
}

TEST(Cmn_Exception, WhatOnManyThreadsAtOnceMakesOneText)
{
    MapData::sCalls = 0;
    auto e = Cmn_TypedException<MapData>::New(kCounted, MapData("n", "1"));
    std::atomic<bool> go{false};
    std::vector<char const*> seen(8, nullptr);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < seen.size(); ++i)
        threads.emplace_back(
            [&, i]
            {
                while (!go.load())
                    std::this_thread::yield();
                seen[i] = e.what();
            });
    go = true;
    for (auto& t : threads)
        t.join();
    for (char const* p : seen)
        EXPECT_EQ(p, seen[0]);
    EXPECT_STREQ(seen[0], "counted 1");
    EXPECT_EQ(MapData::sCalls, 1);
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
