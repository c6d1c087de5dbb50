#include <QApplication>

#include "app/languages.h"
#include "app/mainwindow.h"
#include "photo/systemmessages.h"

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    // Both names together select where the settings are kept.
    QApplication::setApplicationName(QStringLiteral("Crayvell 1.0"));
    QApplication::setOrganizationName(QStringLiteral("Dellumbra software"));
    // Wayland's desktops find the window's entry and icon by it.
    QApplication::setDesktopFileName(QStringLiteral("example.dellumbra.crayvell"));
    photo::openSystemMessages();

    // Here and not in the window: who embeds that has languages of their own.
    languages::install(application, languages::systemTranslation());

    MainWindow window;
    QObject::connect(&window, &MainWindow::mwquit, &application, &QApplication::quit);
    window.setVisible(true);
    return QApplication::exec();
}
