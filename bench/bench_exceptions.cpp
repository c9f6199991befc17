// Cost of the exception family on the throwing path: making, throwing and
// catching a typed exception with one context, and what asking for the text
// adds. The "formats" counter shows how often a record was asked to fill a
// placeholder per iteration: it must stay 0 unless the text is asked for.

#include <benchmark/benchmark.h>

#include <ostream>
#include <string>

#include "Cmn/Cmn_Exception.h"

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
} // namespace
