#pragma once

#include <QApplication>
#include <QFontDatabase>
#include <QTranslator>
#include <QtTest>

#include "app/languages.h"

// The languages of the window as rows of a test: each compiled translation, whether or
// not the program under test has it among its resources.
namespace spokenLanguages {

struct Language
{
    const char *suffix;
    QFontDatabase::WritingSystem script;
    const char *file; // the title of the first menu
};

inline const Language all[] = {
    {"ar", QFontDatabase::Arabic, "&ملف"},
    {"de", QFontDatabase::Latin, "&Datei"},
    {"es", QFontDatabase::Latin, "&Archivo"},
    {"fr", QFontDatabase::Latin, "&Fichier"},
    {"it", QFontDatabase::Latin, "&File"},
    {"ja", QFontDatabase::Japanese, "ファイル(&F)"},
    {"pl", QFontDatabase::Latin, "&Plik"},
    {"pt_BR", QFontDatabase::Latin, "&Arquivo"},
    {"ru", QFontDatabase::Cyrillic, "&Файл"},
    {"zh_CN", QFontDatabase::SimplifiedChinese, "文件(&F)"},
};

inline void rows()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QFontDatabase::WritingSystem>("script");
    QTest::addColumn<QString>("file");
    for (const Language &language : all)
        QTest::newRow(language.suffix) << QString::fromLatin1(language.suffix) << language.script
                                       << QString::fromUtf8(language.file);
}

inline void speak(const QString &suffix)
{
    languages::install(*QCoreApplication::instance(), suffix, QStringLiteral(CRAYVELL_QM_FOLDER));
}

inline void stop()
{
    qDeleteAll(QCoreApplication::instance()->findChildren<QTranslator *>());
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

} // namespace spokenLanguages
