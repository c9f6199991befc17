#include "Sys/Gtk/Sys_TextGtk.h"

#include <glib.h>

std::string Sys_TextGtk::Displayable(std::string const& text)
{
    auto const length = static_cast<gssize>(text.size());
    if (g_utf8_validate(text.data(), length, nullptr))
        return text;
    gchar* const valid = g_utf8_make_valid(text.data(), length);
    std::string result(valid);
    g_free(valid);
    return result;
}
