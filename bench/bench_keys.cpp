// Resolving a key event among the bindings of a context: 5,000 bindings,
// about 45 on each key, every one with modifiers of its own, and events
// that hit the last binding of their key or none. Must stay within 100 ns
// an event.

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "DAW/DAW_Command.h"
#include "DAW/DAW_KeyBindingMap.h"
#include "DAW/DAW_KeyboardInputContext.h"

namespace
{
class CountingCommand : public DAW_Command
{
public:
    CountingCommand() : DAW_Command("count", 1, 0) {}
    bool CanDoCommand(int32) override { return true; }
    void DoCommand(Cmn_RefCountPtr<DAW_EventModifiers>, Cmn_RefCountPtr<DAW_KeyboardState>) override { ++mCalls; }
    long mCalls = 0;
};

constexpr int kBindings = 5000;
constexpr int kKeys = 111; // every key code but Invalid

Cmn_RefCountPtr<DAW_EventModifiers> Modifiers(int combination)
{
    auto const bit = [combination](int b) { return (combination >> b) & 1; };
    return DAW_EventModifiers::New(DAW_EMenuCommandKeyState(bit(0)), DAW_EAlternateKeyState(bit(1)),
                                   DAW_EMetaKeyState(bit(2)), DAW_EShiftKeyState(bit(3)),
                                   DAW_ELeftMouseButtonState(bit(4)), DAW_EMiddleMouseButtonState(bit(5)),
                                   DAW_ERightMouseButtonState(bit(6)));
}

struct Event
{
    Cmn_RefCountPtr<DAW_KeyEvent> mKey;
    Cmn_RefCountPtr<DAW_EventModifiers> mModifiers;
};

struct Setup
{
    CountingCommand mCommand;
    DAW_KeyBindingMap mMap;
    DAW_KeyboardInputContext mContext{1, "bench"};
    std::vector<Event> mEvents;
    Cmn_RefCountPtr<DAW_KeyboardState> mState = DAW_KeyboardState::New(DAW_KeyStateArray{}, kDAW_KeyStateMacBitMap);

    Setup()
    {
        // Binding i: key 1 + i % 111, combination i / 111 of the 128.
        for (int i = 0; i < kBindings; ++i)
            mMap.AddKeyBinding(
                DAW_KeyBinding::New(DAW_KeyEvent::New(DAW_EKeyCode(1 + i % kKeys)), Modifiers(i / kKeys), &mCommand));
        mContext.SetKeyBindingMap(&mMap);
        // The last combination bound on each key, and one bound on none.
        std::mt19937 random(7);
        for (int i = 0; i < 1024; ++i)
        {
            int const key = int(random() % kKeys);
            int const last = (kBindings - 1 - key) / kKeys;
            mEvents.push_back({DAW_KeyEvent::New(DAW_EKeyCode(1 + key)), Modifiers(i % 2 ? last : 127)});
        }
    }
};

void BM_FindMatchingKeyBinding(benchmark::State& state)
{
    Setup s;
    std::size_t i = 0;
    for (auto _ : state)
    {
        Event const& e = s.mEvents[i++ & 1023];
        benchmark::DoNotOptimize(s.mMap.FindMatchingKeyBinding(e.mKey, e.mModifiers));
    }
}
BENCHMARK(BM_FindMatchingKeyBinding);

void BM_HandleKeyEvent(benchmark::State& state)
{
    Setup s;
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(&s.mContext);
    std::size_t i = 0;
    for (auto _ : state)
    {
        Event& e = s.mEvents[i++ & 1023];
        benchmark::DoNotOptimize(DAW_KeyboardInputContext::HandleKeyEvent(e.mKey, e.mModifiers, s.mState));
    }
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(nullptr);
    state.counters["calls"] = double(s.mCommand.mCalls);
}
BENCHMARK(BM_HandleKeyEvent);
} // namespace
