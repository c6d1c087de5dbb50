#include "app/helpdialog.h"

#include <QEvent>
#include <QTextCursor>
#include <QTextDocument>

#include "app/homepage.h"
#include "ui_helpdialog.h"

namespace {

constexpr QColor lightGroundLink(0, 0, 255);
constexpr QColor darkGroundLink(125, 170, 255);

} // namespace

HelpDialog::HelpDialog(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui_HelpDialog)
{
    ui->setupUi(this);
    fillInHomepage();
    colourLinks();
    nameTheText();
}

HelpDialog::~HelpDialog()
{
    delete ui;
}

void HelpDialog::on_buttonOK_clicked()
{
    close();
}

void HelpDialog::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        fillInHomepage();
        nameTheText();
    }
    if (event->type() == QEvent::LanguageChange || event->type() == QEvent::PaletteChange)
        colourLinks();
}

// The translated text says %1 where the address belongs, and links there.
void HelpDialog::fillInHomepage()
{
    const QTextDocument *document = ui->textBrowser->document();
    const QString placeholder = QStringLiteral("%1");
    for (QTextCursor found = document->find(placeholder); !found.isNull();
         found = document->find(placeholder, found)) {
        QTextCharFormat format = found.charFormat();
        if (format.anchorHref() == placeholder)
            format.setAnchorHref(homepage());
        found.insertText(homepage(), format);
    }
}

// The text has a dark blue of its own, which nobody can read on a dark ground.
void HelpDialog::colourLinks()
{
    const bool isDark = palette().color(QPalette::Base).lightness() < 128;
    const QTextDocument *document = ui->textBrowser->document();
    QTextCharFormat colour;
    colour.setForeground(isDark ? darkGroundLink : lightGroundLink);
    for (QTextCursor found = document->find(homepage()); !found.isNull();
         found = document->find(homepage(), found)) {
        if (found.charFormat().isAnchor())
            found.mergeCharFormat(colour);
    }
}

// A screen reader speaks the name of what has the focus, and of a text that nobody can
// edit nothing else. The picture in it has no name.
void HelpDialog::nameTheText()
{
    QString words = ui->textBrowser->toPlainText();
    words.remove(QChar::ObjectReplacementCharacter);
    ui->textBrowser->setAccessibleName(words);
}
