#pragma once

#include <string>

// A message to the user that waits for an answer, behind a seam: the
// window layer installs its dialog (libvfl-gtk a GtkMessageDialog), a test
// a script. Without one installed the default answer is given at once.
class Sys_MessageBox
{
public:
    enum EIcon
    {
        kIconStop = 0,
        kIconWarning = 1,
        kIconQuestion = 2,
        kIconInformation = 3
    };
    enum EButtons
    {
        kButtonsOK = 0,
        kButtonsYesNo = 4
    };
    enum EAnswer
    {
        kAnswerOK = 1,
        kAnswerYes = 6,
        kAnswerNo = 7
    };

    // owner: the platform's window the box belongs to, or null.
    using ShowMethod = EAnswer (*)(void* owner, std::string const& text, std::string const& caption, EIcon icon,
                                   EButtons buttons, EAnswer defaultAnswer);

    static EAnswer Show(void* owner, std::string const& text, std::string const& caption, EIcon icon,
                        EButtons buttons = kButtonsOK, EAnswer defaultAnswer = kAnswerOK);
    static void SetShowMethod(ShowMethod method);

private:
    Sys_MessageBox() = delete;
};
