// Filling a GTK menu bar again from its tree (UpdateMenu), as a host does
// whenever a state may have changed: 50 items within 2 ms, 500 within
// 10 ms. The bar is shown in a window, so every item is made, realised and
// laid out as a user would see it. Needs a display (xvfb-run).

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "DAW/DAW_MenuEntrySimple.h"
#include "DAW/DAW_MenuEntrySubMenu.h"
#include "DAW/Gtk/DAW_MenuMgrGtk.h"

namespace
{
class Item : public DAW_MenuEntrySimple
{
public:
    Item(std::string const& text, bool checked) : DAW_MenuEntrySimple(text), mChecked(checked) {}
    bool MenuEntryIsEnabled() override { return true; }
    bool MenuEntryIsChecked() override { return mChecked; }

private:
    bool mChecked;
};

void Iterate()
{
    while (g_main_context_pending(nullptr))
        g_main_context_iteration(nullptr, FALSE);
}

void BM_UpdateMenu(benchmark::State& state)
{
    if (!gtk_init_check(nullptr, nullptr))
    {
        state.SkipWithError("needs a display (run under xvfb-run)");
        return;
    }
    // A menu bar of one sub menu holding the items, as a recent-files menu.
    static auto* const root = new DAW_MenuEntrySubMenu("Main");
    root->DeleteAllEntries();
    auto* const files = new DAW_MenuEntrySubMenu("&Files");
    root->AppendEntry(files);
    for (int i = 0; i < state.range(0); ++i)
        files->AppendEntry(new Item("/home/me/takes/Take_" + std::to_string(i) + ".wav", i % 7 == 0));
    GtkWidget* const bar = DAW_MenuMgrGtk::BuildAndMapMenu(root);
    GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_container_add(GTK_CONTAINER(window), bar);
    gtk_widget_show_all(window);
    Iterate();
    for (auto _ : state)
    {
        DAW_MenuMgrGtk::UpdateMenu(bar);
        Iterate();
    }
    gtk_container_remove(GTK_CONTAINER(window), bar);
    gtk_widget_destroy(window);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
} // namespace

BENCHMARK(BM_UpdateMenu)->Arg(50)->Arg(500)->Unit(benchmark::kMillisecond);
