#include "Sys/Sys_MessageBox.h"

namespace
{
Sys_MessageBox::ShowMethod sShow = nullptr;
} // namespace

Sys_MessageBox::EAnswer Sys_MessageBox::Show(void* owner, std::string const& text, std::string const& caption,
                                             EIcon icon, EButtons buttons, EAnswer defaultAnswer)
{
    return sShow ? sShow(owner, text, caption, icon, buttons, defaultAnswer) : defaultAnswer;
}

void Sys_MessageBox::SetShowMethod(ShowMethod method)
{
    sShow = method;
}
