#include "Sys/Gtk/Sys_MessageBoxGtk.h"

#include "Sys/Gtk/Sys_TextGtk.h"

#include <gtk/gtk.h>

Sys_MessageBox::EAnswer Sys_MessageBoxGtk::Show(void* owner, std::string const& text, std::string const& caption,
                                                Sys_MessageBox::EIcon icon, Sys_MessageBox::EButtons buttons,
                                                Sys_MessageBox::EAnswer defaultAnswer)
{
    GtkMessageType const type = icon == Sys_MessageBox::kIconStop       ? GTK_MESSAGE_ERROR
                                : icon == Sys_MessageBox::kIconWarning  ? GTK_MESSAGE_WARNING
                                : icon == Sys_MessageBox::kIconQuestion ? GTK_MESSAGE_QUESTION
                                                                        : GTK_MESSAGE_INFO;
    bool const yesNo = buttons == Sys_MessageBox::kButtonsYesNo;
    GtkWidget* const box = gtk_message_dialog_new(
        owner && GTK_IS_WINDOW(owner) ? GTK_WINDOW(owner) : nullptr,
        static_cast<GtkDialogFlags>(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT), type,
        yesNo ? GTK_BUTTONS_YES_NO : GTK_BUTTONS_OK, "%s", Sys_TextGtk::Displayable(text).c_str());
    gtk_window_set_title(GTK_WINDOW(box), Sys_TextGtk::Displayable(caption).c_str());
    if (yesNo)
        gtk_dialog_set_default_response(GTK_DIALOG(box), defaultAnswer == Sys_MessageBox::kAnswerYes ? GTK_RESPONSE_YES
                                                                                                     : GTK_RESPONSE_NO);
    gint const response = gtk_dialog_run(GTK_DIALOG(box));
    gtk_widget_destroy(box);
    switch (response)
    {
    case GTK_RESPONSE_YES: return Sys_MessageBox::kAnswerYes;
    case GTK_RESPONSE_NO: return Sys_MessageBox::kAnswerNo;
    case GTK_RESPONSE_OK: return Sys_MessageBox::kAnswerOK;
    // Closed without an answer.
    default: return yesNo ? Sys_MessageBox::kAnswerNo : Sys_MessageBox::kAnswerOK;
    }
}
