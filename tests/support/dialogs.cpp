#include "tests/support/dialogs.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>

namespace dialogs {

namespace {

constexpr int pollInterval = 10; // milliseconds

template <typename Dialog> void whenOpen(const std::function<void(Dialog &)> &answer)
{
    auto *timer = new QTimer(QApplication::instance());
    QObject::connect(timer, &QTimer::timeout, timer, [timer, answer] {
        auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        answer(*dialog);
    });
    timer->start(pollInterval);
}

} // namespace

void whenFileDialogOpens(const std::function<void(QFileDialog &)> &answer)
{
    whenOpen<QFileDialog>(answer);
}

void whenMessageBoxOpens(const std::function<void(QMessageBox &)> &answer)
{
    whenOpen<QMessageBox>(answer);
}

// Selecting the file through the dialog's model could hang on a slow folder.
void choose(QFileDialog &dialog, const QString &path)
{
    dialog.findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
    QMetaObject::invokeMethod(&dialog, "accept");
}

void chooseNext(const QString &path)
{
    whenFileDialogOpens([path](QFileDialog &dialog) {
        if (dialog.acceptMode() == QFileDialog::AcceptSave && QFile::exists(path))
            whenOpen<QMessageBox>(
                [](QMessageBox &question) { question.button(QMessageBox::Yes)->click(); });
        choose(dialog, path);
    });
}

void cancelNext()
{
    whenFileDialogOpens([](QFileDialog &dialog) { dialog.reject(); });
}

} // namespace dialogs
