#include "tools/vfl-gtk/Gtk/Browser.h"

#include "Cmn/Cmn_Exception.h"
#include "DAW/DAW_CommandRegistry.h"
#include "DAW/DAW_KeyBindingText.h"
#include "DAW/DAW_MenuEntrySeparator.h"
#include "DAW/DAW_MenuEntrySubMenu.h"
#include "DAW/Gtk/DAW_MenuMgrGtk.h"
#include "DAW/Sys_CustomFileDialog.h"
#include "DAW/Sys_FileLocMenuItem.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioProcessChain.h"
#include "FF/FF_AudioProcessDecimateWaveform.h"
#include "Sys/Gtk/Sys_TextGtk.h"
#include "Sys/Sys_RecentItems.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl-gtk/Gtk/BrowserCommand.h"
#include "tools/vfl-gtk/Gtk/BrowserMenuItem.h"
#include "tools/vfl/FileFacts.h"
#include "tools/vfl/OverviewPicture.h"
#include "tools/vfl/ToolSupport.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace
{
constexpr int32 kContextID = 1;
constexpr int kPictureWidth = 960;
constexpr int32 kRecentShown = 25;

struct Named
{
    EBrowserAction action;
    char const* name;
};
Named const kCommands[] = {{kBrowserOpen, "Open"},
                           {kBrowserConvert, "Convert"},
                           {kBrowserQuit, "Quit"},
                           {kBrowserShowInformation, "Show Information"},
                           {kBrowserShowOverview, "Show Overview"},
                           {kBrowserReload, "Reload"}};

// The commands live as long as the process: the registry keeps the first
// of each number, and bindings refer to them by name.
void RegisterCommands()
{
    static bool const registered = []
    {
        for (Named const& n : kCommands)
            DAW_CommandRegistry::RegisterCommand(new BrowserCommand(n.action, n.name));
        return true;
    }();
    (void)registered;
}

std::vector<Sys_FileType> AudioTypes()
{
    return {Sys_FileType("wav"), Sys_FileType("aif"), Sys_FileType("aifc")};
}

void FreePixels(guchar* pixels, gpointer)
{
    g_free(pixels);
}

GdkPixbuf* PixbufOf(vfl::Picture const& picture)
{
    int const w = picture.Width(), h = picture.Height();
    auto* const pixels = static_cast<guchar*>(g_malloc(static_cast<gsize>(w) * static_cast<gsize>(h) * 3));
    guchar* p = pixels;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
        {
            vfl::Picture::Colour const c = picture.At(x, y);
            *p++ = c.r;
            *p++ = c.g;
            *p++ = c.b;
        }
    return gdk_pixbuf_new_from_data(pixels, GDK_COLORSPACE_RGB, FALSE, 8, w, h, w * 3, &FreePixels, nullptr);
}
} // namespace

struct Browser::Job
{
    bool overview = true; // else a conversion
    FF_AudioFileUtils::ChainHandle chain;
    int serial = 0; // of the file shown it was started for
    std::vector<std::vector<signed char>> lanes;
    double seconds = 0;
    std::string title;
    Sys_FileLoc temporary, destination;
};

Browser* Browser::sCurrent = nullptr;

std::vector<std::string> Browser::CommandNames()
{
    std::vector<std::string> names;
    for (Named const& n : kCommands)
        names.push_back(n.name);
    return names;
}

Browser::Browser(std::string const& keys, std::string const& keysSource) : mContext(kContextID, "Browser")
{
    RegisterCommands();
    std::istringstream in(keys);
    for (DAW_KeyBindingText::Context const& context : DAW_KeyBindingText::Read(in, keysSource))
        DAW_KeyBindingText::AddToMap(context, mBindings, keysSource);
    mContext.SetKeyBindingMap(&mBindings);
    Sys_RecentItems::InitializeRecentItemsLists();

    mWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(mWindow), "vfl-gtk");
    gtk_window_set_default_size(GTK_WINDOW(mWindow), kPictureWidth + 40, 640);
    BuildMenus();
    GtkWidget* const box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_pack_start(GTK_BOX(box), mMenuBar, FALSE, FALSE, 0);

    GtkWidget* const content = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    gtk_container_set_border_width(GTK_CONTAINER(content), 10);
    mInformation = gtk_label_new("Open a file with File > Open... (Ctrl+O).");
    gtk_label_set_selectable(GTK_LABEL(mInformation), TRUE);
    // Selectable by the mouse, without taking the focus (and selecting
    // everything) when the window opens.
    gtk_widget_set_can_focus(mInformation, FALSE);
    gtk_label_set_xalign(GTK_LABEL(mInformation), 0);
    gtk_label_set_yalign(GTK_LABEL(mInformation), 0);
    PangoAttrList* const mono = pango_attr_list_new();
    pango_attr_list_insert(mono, pango_attr_family_new("monospace"));
    gtk_label_set_attributes(GTK_LABEL(mInformation), mono);
    pango_attr_list_unref(mono);
    mOverview = gtk_image_new();
    gtk_widget_set_halign(mOverview, GTK_ALIGN_START);
    gtk_box_pack_start(GTK_BOX(content), mInformation, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(content), mOverview, FALSE, FALSE, 0);
    GtkWidget* const scroll = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_container_add(GTK_CONTAINER(scroll), content);
    gtk_box_pack_start(GTK_BOX(box), scroll, TRUE, TRUE, 0);

    mStatus = gtk_label_new("");
    gtk_label_set_xalign(GTK_LABEL(mStatus), 0);
    gtk_widget_set_margin_start(mStatus, 10);
    gtk_widget_set_margin_bottom(mStatus, 4);
    gtk_box_pack_start(GTK_BOX(box), mStatus, FALSE, FALSE, 0);
    gtk_container_add(GTK_CONTAINER(mWindow), box);

    mKeys.Attach(mWindow);
    g_signal_connect(mWindow, "destroy",
                     G_CALLBACK(+[](GtkWidget*, gpointer self) { static_cast<Browser*>(self)->mWindow = nullptr; }),
                     this);
    g_signal_connect(mWindow, "focus-in-event", G_CALLBACK(&OnFocusIn), this);
    sCurrent = this;
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(&mContext);
    Sys_CustomFileDialog::SetCfdParentWindow(mWindow);
    mTimer = g_timeout_add(100, &OnTimer, this);
    FillRecentMenu();
    gtk_widget_show_all(mWindow);
}

Browser::~Browser()
{
    g_source_remove(mTimer);
    for (auto& job : mJobs)
        job->chain->Abort();
    // The chains write into the jobs' buffers until they end.
    for (auto& job : mJobs)
        job->chain
            ->GetNotificationEvent(Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted)
            ->Wait();
    if (sCurrent == this)
        sCurrent = nullptr;
    if (DAW_KeyboardInputContext::GetCurrentKeyboardInputContext() == &mContext)
        DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(nullptr);
    if (Sys_CustomFileDialog::GetCfdParentWindow() == mWindow)
        Sys_CustomFileDialog::SetCfdParentWindow(nullptr);
    if (mWindow)
        gtk_widget_destroy(mWindow);
}

void Browser::BuildMenus()
{
    mMenu = std::make_unique<DAW_MenuEntrySubMenu>("Main");
    auto* const file = new DAW_MenuEntrySubMenu("&File");
    file->AppendEntry(new BrowserMenuItem(*this, kBrowserOpen, "&Open..."));
    mRecentMenu = new DAW_MenuEntrySubMenu("Open &Recent");
    file->AppendEntry(mRecentMenu);
    file->AppendEntry(new BrowserMenuItem(*this, kBrowserConvert, "&Convert..."));
    file->AppendEntry(new DAW_MenuEntrySeparator);
    file->AppendEntry(new BrowserMenuItem(*this, kBrowserQuit, "&Quit"));
    auto* const view = new DAW_MenuEntrySubMenu("&View");
    view->AppendEntry(new BrowserMenuItem(*this, kBrowserShowInformation, "&Information"));
    view->AppendEntry(new BrowserMenuItem(*this, kBrowserShowOverview, "&Overview"));
    view->AppendEntry(new DAW_MenuEntrySeparator);
    view->AppendEntry(new BrowserMenuItem(*this, kBrowserReload, "&Reload"));
    mMenu->AppendEntry(file);
    mMenu->AppendEntry(view);
    mMenuBar = DAW_MenuMgrGtk::BuildAndMapMenu(mMenu.get());
}

void Browser::FillRecentMenu()
{
    mRecentGeneration = Sys_RecentItems::GetGeneration();
    // What the background pass found there; nothing here asks the disk.
    std::vector<std::string> shown;
    for (Sys_RecentItem const& item : Sys_RecentItems::GetRecentFiles())
        if (static_cast<int32>(shown.size()) < kRecentShown && item.mOnline == Sys_RecentItem::kOnline &&
            item.mType.GetFileType() != Sys_FileType::kTypeFolder)
            shown.push_back(item.mPath);
    // A menu the user has open is left alone while nothing in it changes.
    if (shown == mRecentShown)
        return;
    mRecentShown = shown;
    mRecentMenu->DeleteAllEntries();
    for (std::string const& path : shown)
        mRecentMenu->AppendEntry(new Sys_FileLocMenuItem(&OpenRecent, this, Sys_FileLoc(path)));
    DAW_MenuMgrGtk::UpdateMenu(mMenuBar);
    gtk_widget_show_all(mMenuBar);
}

bool Browser::CanDo(EBrowserAction action) const
{
    switch (action)
    {
    case kBrowserConvert: return mKnown && !IsWorking();
    case kBrowserReload: return !mPath.empty();
    default: return true;
    }
}

bool Browser::IsChecked(EBrowserAction action) const
{
    return (action == kBrowserShowInformation && mShowInformation) || (action == kBrowserShowOverview && mShowOverview);
}

void Browser::Do(EBrowserAction action)
{
    if (!CanDo(action))
        return;
    switch (action)
    {
    case kBrowserOpen: ChooseAndOpen(); break;
    case kBrowserConvert: ChooseAndConvert(); break;
    case kBrowserQuit: gtk_widget_destroy(mWindow); return;
    case kBrowserShowInformation: mShowInformation = !mShowInformation; break;
    case kBrowserShowOverview: mShowOverview = !mShowOverview; break;
    case kBrowserReload: Reload(); break;
    }
    ShowParts();
    // The enabled and checked states are read when a menu is filled.
    DAW_MenuMgrGtk::UpdateMenu(mMenuBar);
    FillRecentMenu();
}

void Browser::ShowParts()
{
    gtk_widget_set_visible(mInformation, mShowInformation);
    gtk_widget_set_visible(mOverview, mShowOverview);
}

void Browser::SetStatus(std::string const& text)
{
    gtk_label_set_text(GTK_LABEL(mStatus), Sys_TextGtk::Displayable(text).c_str());
}

std::string Browser::GetInformationText() const
{
    return gtk_label_get_text(GTK_LABEL(mInformation));
}

std::string Browser::GetStatusText() const
{
    return gtk_label_get_text(GTK_LABEL(mStatus));
}

GdkPixbuf* Browser::GetOverview() const
{
    return gtk_image_get_storage_type(GTK_IMAGE(mOverview)) == GTK_IMAGE_PIXBUF
               ? gtk_image_get_pixbuf(GTK_IMAGE(mOverview))
               : nullptr;
}

void Browser::ChooseAndOpen()
{
    std::vector<Sys_FileLoc> files;
    std::vector<Sys_FileType> const types = AudioTypes();
    Sys_CustomFileDialog dialog(&files, nullptr, nullptr, "", kSys_FileDialogSingleSelection, kSys_FileDialogOpen,
                                &types, "Open an audio file", nullptr, nullptr, true, true);
    try
    {
        if (dialog.Pose() && !files.empty())
            Open(files.front());
    }
    catch (std::exception const& e)
    {
        SetStatus("The file could not be chosen: " + vfl::ExceptionText(e));
    }
}

void Browser::OpenRecent(void* browser, Sys_FileLoc location)
{
    static_cast<Browser*>(browser)->Open(location);
}

void Browser::Reload()
{
    Open(mLoc);
}

void Browser::Open(Sys_FileLoc const& loc)
{
    mLoc = loc;
    mPath = loc.GetFullPath();
    ++mSerial;
    mKnown = false;
    gtk_image_clear(GTK_IMAGE(mOverview));
    for (auto& job : mJobs)
        if (job->overview)
            job->chain->Abort();
    std::string const name = loc.GetFileName();
    gtk_window_set_title(GTK_WINDOW(mWindow), Sys_TextGtk::Displayable(name + " \u2014 vfl-gtk").c_str());
    try
    {
        FF_AudioFile file(loc);
        vfl::Facts const facts = vfl::GatherFacts(file, loc, mPath);
        gtk_label_set_text(GTK_LABEL(mInformation), Sys_TextGtk::Displayable(vfl::FactsText(facts)).c_str());
        mKnown = facts.known;
        mAttr = facts.attr;
        SetStatus(mKnown ? "" : "Not an audio file in a known format: " + facts.unknownReason);
    }
    catch (std::exception const& e)
    {
        gtk_label_set_text(GTK_LABEL(mInformation), Sys_TextGtk::Displayable(mPath).c_str());
        SetStatus(mPath + ": " + vfl::ExceptionText(e));
        return;
    }
    try
    {
        Sys_RecentItems::AddToRecentFilesList(loc);
        Sys_RecentItems::AddToRecentFoldersList(loc.GetParentFolder());
        Sys_RecentItems::WriteRecentFoldersAndFiles();
    }
    catch (std::exception const& e)
    {
        SetStatus("The recent files could not be kept: " + vfl::ExceptionText(e));
    }
    if (mKnown)
        StartOverview(mAttr);
    FillRecentMenu();
}

void Browser::StartOverview(FF_AudioFileAttr const& attr)
{
    int64 const frames = attr.GetNumSamples();
    int const bits = attr.GetBitsPerSample();
    if (frames <= 0 || !FF_AudioProcessDecimateWaveform::TakesDepth(bits))
    {
        SetStatus(frames <= 0
                      ? "No audio to draw: the file has 0 frames"
                      : "Overviews are made of audio of up to 24 bits, not of " + std::to_string(bits) + "-bit");
        return;
    }
    auto job = std::make_unique<Job>();
    job->serial = mSerial;
    job->seconds = static_cast<double>(frames) / attr.GetSamplesPerSec();
    job->title = vfl::OverviewTitle(mPath, attr.GetNumChannels(), attr.GetSamplesPerSec(), bits, job->seconds);
    // As many frames to an interval as the picture has columns for.
    int64 const spi = std::clamp<int64>(frames / (kPictureWidth - vfl::kOverviewMargins), 1, 0x7FFFFFFF);
    std::vector<char*> buffers;
    for (int c = 0; c < attr.GetNumChannels(); ++c)
    {
        job->lanes.emplace_back(static_cast<std::size_t>((frames + spi - 1) / spi * 2));
        buffers.push_back(reinterpret_cast<char*>(job->lanes.back().data()));
    }
    try
    {
        job->chain = FF_AudioFileUtils::DecimateWaveform(mLoc, static_cast<int32>(spi), buffers);
    }
    catch (std::exception const& e)
    {
        SetStatus("No overview: " + vfl::ExceptionText(e));
        return;
    }
    SetStatus("Working out the overview...");
    mJobs.push_back(std::move(job));
}

void Browser::ChooseAndConvert()
{
    std::vector<Sys_FileLoc> files;
    std::vector<Sys_FileType> chosenTypes;
    std::vector<Sys_FileType> const types = AudioTypes();
    Sys_FileType const current = Sys_Utils::GetFileType(mLoc);
    Sys_FileLoc const folder = mLoc.GetParentFolder();
    Sys_CustomFileDialog dialog(&files, &chosenTypes, &current, mLoc.GetFileName(Sys_FileLoc::kNameWithoutExtension),
                                kSys_FileDialogSingleSelection, kSys_FileDialogSave, &types, "Convert to", &folder,
                                nullptr, true, false);
    try
    {
        if (!dialog.Pose() || files.empty())
            return;
        Sys_FileLoc const& out = files.front();
        if (Sys_Utils::IsSameFile(out, mLoc))
        {
            SetStatus("A file cannot be converted onto itself: " + out.GetFullPath());
            return;
        }
        FF_AudioFileUtils::ConvertAudioFileParams params;
        params.bitsPerSample = static_cast<int16>(mAttr.GetBitsPerSample());
        params.samplesPerSec = mAttr.GetSamplesPerSec();
        params.quality = 4;
        FF_AudioFileUtils::SetConvertAudioFileParams(params);
        auto job = std::make_unique<Job>();
        job->overview = false;
        job->destination = out;
        // Written beside its place and put there only when it is complete.
        job->temporary = Sys_FileLoc(out.GetFullPath() + ".vfl-gtk-new");
        job->chain = FF_AudioFileUtils::ConvertAudioFiles({mLoc}, 0, -1, {job->temporary}, chosenTypes.front());
        SetStatus("Converting to " + out.GetFullPath() + "...");
        mJobs.push_back(std::move(job));
    }
    catch (std::exception const& e)
    {
        SetStatus("The file could not be converted: " + vfl::ExceptionText(e));
    }
}

gboolean Browser::OnTimer(gpointer data)
{
    auto* const self = static_cast<Browser*>(data);
    self->Follow();
    if (Sys_RecentItems::GetGeneration() != self->mRecentGeneration)
        self->FillRecentMenu();
    return G_SOURCE_CONTINUE;
}

void Browser::Follow()
{
    bool changed = false;
    for (auto at = mJobs.begin(); at != mJobs.end();)
    {
        Sys_Task::EStatus const status = (*at)->chain->GetStatus();
        if (status != Sys_Task::kStatusCompleted && status != Sys_Task::kStatusFailed &&
            status != Sys_Task::kStatusAborted)
        {
            if (!(*at)->overview)
                SetStatus("Converting to " + (*at)->destination.GetFullPath() + ": " +
                          std::to_string((*at)->chain->GetPercentCompleted()) + " %");
            ++at;
            continue;
        }
        Finish(**at);
        at = mJobs.erase(at);
        changed = true;
    }
    if (changed)
        DAW_MenuMgrGtk::UpdateMenu(mMenuBar);
}

void Browser::Finish(Job& job)
{
    Sys_Task::EStatus const status = job.chain->GetStatus();
    std::string const failure =
        job.chain->GetException() ? vfl::ExceptionText(*job.chain->GetException()) : std::string("it was stopped");
    if (!job.overview)
    {
        if (status == Sys_Task::kStatusCompleted)
        {
            try
            {
                Sys_Utils::ReplaceFile(job.temporary, job.destination);
                SetStatus("Converted to " + job.destination.GetFullPath());
                return;
            }
            catch (std::exception const& e)
            {
                SetStatus("The conversion could not take its place: " + vfl::ExceptionText(e));
            }
        }
        else
            SetStatus("The conversion failed: " + failure);
        Sys_Utils::DeleteFile(job.temporary);
        return;
    }
    if (job.serial != mSerial)
        return;
    if (status != Sys_Task::kStatusCompleted)
    {
        SetStatus("No overview: " + failure);
        return;
    }
    vfl::OverviewDrawing d;
    d.title = job.title;
    d.seconds = job.seconds;
    int const channels = static_cast<int>(job.lanes.size());
    for (int c = 0; c < channels; ++c)
    {
        d.names.push_back(vfl::ChannelName(c, channels));
        d.lanes.push_back(&job.lanes[static_cast<std::size_t>(c)]);
    }
    int const laneHeight = channels > 4 ? 70 : 130;
    GdkPixbuf* const picture = PixbufOf(vfl::DrawOverview(d, kPictureWidth, 50 + channels * laneHeight));
    gtk_image_set_from_pixbuf(GTK_IMAGE(mOverview), picture);
    g_object_unref(picture);
    SetStatus("");
}

gboolean Browser::OnFocusIn(GtkWidget*, GdkEvent*, gpointer data)
{
    auto* const self = static_cast<Browser*>(data);
    sCurrent = self;
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(&self->mContext);
    Sys_CustomFileDialog::SetCfdParentWindow(self->mWindow);
    return FALSE;
}
