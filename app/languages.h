#pragma once

#include <QString>
#include <QStringList>

class QCoreApplication;

// The languages that the program speaks beside English, in which its texts are written.
namespace languages {

// The suffix of the translation ("de", "pt_BR") for somebody who prefers these
// languages, best first, as QLocale::uiLanguages() names them. Empty for the texts as
// they are written: whoever prefers English to all that is there, or knows nothing else.
QString translationFor(const QStringList &preferred);

// The same for whoever started the program.
QString systemTranslation();

// Shows everything from now on in a language, the toolkit's own texts and the direction
// of writing included; a folder holds crayvell_de.qm and the others. Without a suffix or
// a translation for it everything stays as it is.
void install(QCoreApplication &application, const QString &suffix,
             const QString &folder = QStringLiteral(":/i18n"));

} // namespace languages
