#pragma once

#include "Sys/Sys_MessageBox.h"

// Sys_MessageBox as a modal GtkMessageDialog over its owner window.
class Sys_MessageBoxGtk
{
public:
    static Sys_MessageBox::EAnswer Show(void* owner, std::string const& text, std::string const& caption,
                                        Sys_MessageBox::EIcon icon, Sys_MessageBox::EButtons buttons,
                                        Sys_MessageBox::EAnswer defaultAnswer);

private:
    Sys_MessageBoxGtk() = delete;
};
