#pragma once

#include <QDialog>

class Ui_HelpDialog;

// The short guide behind Help > Index.
class HelpDialog : public QDialog
{
    Q_OBJECT

public:
    explicit HelpDialog(QWidget *parent = nullptr);
    ~HelpDialog() override;

protected:
    void changeEvent(QEvent *event) override;

private slots:
    void on_buttonOK_clicked();

private:
    void fillInHomepage();
    void colourLinks();
    void nameTheText();

    Ui_HelpDialog *ui;
};
