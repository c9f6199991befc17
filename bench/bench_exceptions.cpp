// Cost of the exception family on the throwing path: making, throwing and
// catching a typed exception with one context, and what asking for the text
// adds. The "formats" counter shows how often a record was asked to fill a
// placeholder per iteration: it must stay 0 unless the text is asked for.

#include <benchmark/benchmark.h>

#include <ostream>
#include <string>

#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_StackDumpNull.h"
#include "Sys/Sys_Init.h"

namespace
{
long sFormats = 0;

class CountingData : public Cmn_ExceptionData
{
public:
    explicit CountingData(int value) : mValue(value) {}
    void PrintAttr(std::string const& name, std::ostream& os) const override
    {
        ++sFormats;
        if (name == "value")
            os << mValue;
    }

private:
    int mValue;
};

XC_TypedExceptionCode<CountingData> const kBenchCode("bench value <value>");

void ThrowWithContext(int value)
{
    try
    {
        throw Cmn_TypedException<CountingData>::New(kBenchCode, CountingData(value));
    }
    catch (Cmn_Exception& e)
    {
        Cmn_AddExceptionContext(&e, new Cmn_TypedExceptionContext<Cmn_TStringXData>(
                                        XC_Cmn_ExceptionContext, Cmn_TStringXData("while benchmarking")));
        throw;
    }
}

void BM_ThrowCatchWithContext(benchmark::State& state)
{
    sFormats = 0;
    int caught = 0;
    for (auto _ : state)
    {
        try
        {
            ThrowWithContext(static_cast<int>(state.iterations()));
        }
        catch (Cmn_Exception const& e)
        {
            benchmark::DoNotOptimize(&e);
            ++caught;
        }
    }
    state.counters["formats"] = benchmark::Counter(static_cast<double>(sFormats), benchmark::Counter::kAvgIterations);
    state.counters["caught"] = benchmark::Counter(caught, benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_ThrowCatchWithContext);

void BM_ThrowCatchWithContextAndWhat(benchmark::State& state)
{
    sFormats = 0;
    for (auto _ : state)
    {
        try
        {
            ThrowWithContext(static_cast<int>(state.iterations()));
        }
        catch (Cmn_Exception const& e)
        {
            benchmark::DoNotOptimize(e.what());
            benchmark::DoNotOptimize(e.what());
        }
    }
    state.counters["formats"] = benchmark::Counter(static_cast<double>(sFormats), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_ThrowCatchWithContextAndWhat);

void BM_MakeOnly(benchmark::State& state)
{
    for (auto _ : state)
    {
        auto e = Cmn_TypedException<CountingData>::New(kBenchCode, CountingData(1));
        benchmark::DoNotOptimize(&e);
    }
}
BENCHMARK(BM_MakeOnly);

void BM_CloneAndThrow(benchmark::State& state)
{
    auto original = Cmn_TypedException<CountingData>::New(kBenchCode, CountingData(1));
    original.AddContext(new Cmn_TypedExceptionContext<Cmn_TStringXData>(XC_Cmn_ExceptionContext,
                                                                        Cmn_TStringXData("while benchmarking")));
    for (auto _ : state)
    {
        Cmn_Exception* clone = original.Clone();
        try
        {
            clone->Throw();
        }
        catch (Cmn_Exception const& e)
        {
            benchmark::DoNotOptimize(&e);
        }
        delete clone;
    }
}
BENCHMARK(BM_CloneAndThrow);

// With the system layer up, every exception captures the stack of its
// thread (a walk of the frames above it, and a look for the marker file
// that turns it off). Budget: 5 microseconds for make, throw and catch.
// The Arg is the depth of the throw below the catch; "bare" throws the
// same without a capture, for the share of the unwinding itself.
__attribute__((noinline)) void ThrowFromDepth(int depth, bool capture)
{
    if (depth > 0)
    {
        ThrowFromDepth(depth - 1, capture);
        benchmark::ClobberMemory(); // keeps the frames: no tail call
        return;
    }
    throw Cmn_TypedException<CountingData>::New(kBenchCode, CountingData(depth),
                                                capture ? nullptr : new Cmn_StackDumpNull());
}

void ThrowCatch(benchmark::State& state, bool capture)
{
    Sys_Init::Init();
    for (auto _ : state)
    {
        try
        {
            ThrowFromDepth(static_cast<int>(state.range(0)), capture);
        }
        catch (Cmn_Exception const& e)
        {
            benchmark::DoNotOptimize(e.GetStackDump());
        }
    }
}

void BM_ThrowCatchWithStackDump(benchmark::State& state)
{
    ThrowCatch(state, true);
}
BENCHMARK(BM_ThrowCatchWithStackDump)->Arg(0)->Arg(10);

void BM_ThrowCatchBare(benchmark::State& state)
{
    ThrowCatch(state, false);
}
BENCHMARK(BM_ThrowCatchBare)->Arg(0)->Arg(10);

void BM_CaptureOnly(benchmark::State& state)
{
    Sys_Init::Init();
    for (auto _ : state)
        delete Cmn_StackDump::Create();
}
BENCHMARK(BM_CaptureOnly);
} // namespace
