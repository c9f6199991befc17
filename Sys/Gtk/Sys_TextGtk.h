// Text for GTK's widgets, which take UTF-8 alone. A file's name is bytes:
// one written by an older system (a Latin-1 "Café" from an old disk) is not
// UTF-8, and GTK would warn and show nothing or a broken label. Every text
// that may hold a name passes through here on its way to a widget.
#pragma once

#include <string>

class Sys_TextGtk
{
public:
    // The text as it is when it is UTF-8; otherwise each byte that is not
    // shows as U+FFFD, and the rest as it was.
    static std::string Displayable(std::string const& text);
};
