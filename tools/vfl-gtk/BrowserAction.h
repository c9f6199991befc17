// What a person can ask of the browser, from a menu or by a key.
#pragma once

enum EBrowserAction
{
    kBrowserOpen = 1,
    kBrowserConvert,
    kBrowserQuit,
    kBrowserShowInformation,
    kBrowserShowOverview,
    kBrowserReload
};
