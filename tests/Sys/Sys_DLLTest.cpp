#include "Sys/Sys_DLL.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Cmn/Cmn_Exception.h"
#include "Sys_FileTestSupport.h"

namespace
{

constexpr char kLibrary[] = VFL_TEST_DLL_PATH;

// Typed access on top of GetVoidAddr, as a host writes it.
class TestDLL : public Sys_DLL
{
public:
    int Answer() const { return reinterpret_cast<int (*)()>(GetVoidAddr("vfl_test_dll_answer"))(); }
    void* Address(std::string const& name) const { return GetVoidAddr(name); }
};

// Whether the process has the library loaded, asked of the loader itself.
bool IsInProcess(char const* path)
{
    void* const handle = ::dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle)
        ::dlclose(handle);
    return handle != nullptr;
}

using SysDLLTest = vfltest::SysFolderTest;

TEST_F(SysDLLTest, LoadsCallsAndFrees)
{
    ASSERT_FALSE(IsInProcess(kLibrary));
    TestDLL dll;
    dll.Load(kLibrary);
    EXPECT_TRUE(IsInProcess(kLibrary));
    EXPECT_EQ(dll.Answer(), 42);
    dll.Free();
    EXPECT_FALSE(IsInProcess(kLibrary));

    // Loading again lets go of the library loaded before.
    dll.Load(kLibrary);
    dll.Load("libm.so.6");
    EXPECT_FALSE(IsInProcess(kLibrary));
    EXPECT_NE(dll.Address("cos"), nullptr);
    dll.Free();

    // Deleting the object leaves the library loaded; only Free lets it go.
    auto owner = std::make_unique<TestDLL>();
    owner->Load(kLibrary);
    int (*const answer)() = reinterpret_cast<int (*)()>(owner->Address("vfl_test_dll_answer"));
    owner.reset();
    EXPECT_TRUE(IsInProcess(kLibrary));
    EXPECT_EQ(answer(), 42);
    void* const handle = ::dlopen(kLibrary, RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(handle, nullptr);
    ::dlclose(handle);
    ::dlclose(handle); // the reference the deleted object kept
    EXPECT_FALSE(IsInProcess(kLibrary));
}

TEST_F(SysDLLTest, FailuresCarryTheErrnoAndTwoContexts)
{
    std::string const notALibrary = mDir.File("notes.so");
    vfltest::WriteWholeFile(notALibrary, {'h', 'i', '\n'});
    std::string const missing = mDir.File("missing.so");
    TestDLL loaded;
    loaded.Load(kLibrary);
    struct Case
    {
        char const* name;
        std::function<void(TestDLL&)> action;
        int err;
        std::string inner; // how the first context begins
        std::string outer;
        int assertions;
    };
    Case const cases[] = {
        {"missing library", [&](TestDLL& d) { d.Load(missing); }, ENOENT,
         "from [Posix] ::dlopen(\"" + missing + "\"): ", "from Sys_DLLPosix::Load(\"" + missing + "\")", 0},
        {"not a library", [&](TestDLL& d) { d.Load(notALibrary); }, ELIBBAD,
         "from [Posix] ::dlopen(\"" + notALibrary + "\"): ", "from Sys_DLLPosix::Load(\"" + notALibrary + "\")", 0},
        {"no such function", [&](TestDLL&) { loaded.Address("h3_nothing"); }, ENOSYS,
         "from [Posix] ::dlsym(\"h3_nothing\"): ", "from Sys_DLLPosix::GetProcAddress(\"h3_nothing\")", 0},
        {"function of nothing loaded", [](TestDLL& d) { d.Address("cos"); }, EBADF, "from [Posix] ::dlsym(\"cos\")",
         "from Sys_DLLPosix::GetProcAddress(\"cos\")", 1},
        {"free of nothing loaded", [](TestDLL& d) { d.Free(); }, EBADF, "from [Posix] ::dlclose(\"???\")",
         "from Sys_DLLPosix::Free()", 1},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        vfltest::StCountAsserts asserts;
        TestDLL dll;
        std::vector<std::string> contexts;
        int err = 0;
        try
        {
            c.action(dll);
        }
        catch (Cmn_TypedException<Sys_OSErrData> const& e)
        {
            err = e.GetCode() == XC_Sys_SystemError ? e.GetData().GetErr() : -1;
            for (auto it = e.GetContextListBegin(); it != e.GetContextListEnd(); ++it)
                contexts.push_back((*it)->GetDescription());
        }
        EXPECT_EQ(err, c.err);
        ASSERT_EQ(contexts.size(), 2u);
        EXPECT_EQ(contexts[0].rfind(c.inner, 0), 0u) << contexts[0];
        EXPECT_EQ(contexts[1], c.outer);
        EXPECT_EQ(asserts.Failed(), c.assertions);
    }
    EXPECT_EQ(loaded.Answer(), 42); // a failed lookup changes nothing
}

} // namespace
