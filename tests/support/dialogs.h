#pragma once

#include <QFileDialog>
#include <QMessageBox>
#include <QString>
#include <QTimer>

#include <functional>

// Answers the modal dialogs that a test is about to raise.
namespace dialogs {

// Calls answer with the file dialog once it is up; the caller then runs the
// code that opens it. The test's own time-out ends a dialog that never comes.
void whenFileDialogOpens(const std::function<void(QFileDialog &)> &answer);

// The same for a message box.
void whenMessageBoxOpens(const std::function<void(QMessageBox &)> &answer);

// Types a path into the dialog and accepts it.
void choose(QFileDialog &dialog, const QString &path);

// Answers the next file dialog with a path, and a question that follows it
// (overwrite?) with yes.
void chooseNext(const QString &path);

// Cancels the next file dialog.
void cancelNext();

} // namespace dialogs
