#include "app/languages.h"

#include <QGuiApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include <algorithm>
#include <array>
#include <memory>

namespace languages {

namespace {

struct Translation
{
    const char *suffix;
    QLocale::Language language;
    QLocale::Script script = QLocale::AnyScript;
    QLocale::Territory territory = QLocale::AnyTerritory;
};

// Traditional Chinese and European Portuguese are other languages to their readers.
constexpr std::array translations {
    Translation {"ar", QLocale::Arabic},
    Translation {"de", QLocale::German},
    Translation {"es", QLocale::Spanish},
    Translation {"fr", QLocale::French},
    Translation {"it", QLocale::Italian},
    Translation {"ja", QLocale::Japanese},
    Translation {"pl", QLocale::Polish},
    Translation {"pt_BR", QLocale::Portuguese, QLocale::AnyScript, QLocale::Brazil},
    Translation {"ru", QLocale::Russian},
    Translation {"zh_CN", QLocale::Chinese, QLocale::SimplifiedHanScript},
};

bool serves(const Translation &translation, const QLocale &reader)
{
    return translation.language == reader.language()
        && (translation.script == QLocale::AnyScript || translation.script == reader.script())
        && (translation.territory == QLocale::AnyTerritory
            || translation.territory == reader.territory());
}

// Whether the environment asks for plain texts, as one without any locale does. LANGUAGE
// has no say then, as in every program with message catalogues; the toolkit would listen to
// it all the same. Where the system keeps the locale elsewhere, it may have one even so.
bool isPlainEnvironment()
{
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const QByteArray name = qgetenv(variable);
        if (!name.isEmpty())
            return name == "C" || name == "POSIX" || name.startsWith("C.");
    }
#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
    return true;
#else
    return false;
#endif
}

std::unique_ptr<QTranslator> loaded(const QString &name, const QString &folder)
{
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load(name, folder))
        return nullptr;
    return translator;
}

void add(std::unique_ptr<QTranslator> translator, QCoreApplication &application)
{
    if (!translator)
        return;
    translator->setParent(&application);
    QCoreApplication::installTranslator(translator.release());
}

} // namespace

QString translationFor(const QStringList &preferred)
{
    for (const QString &name : preferred) {
        const QLocale reader(name);
        if (reader.language() == QLocale::English)
            return {};
        const auto found = std::find_if(translations.begin(), translations.end(),
                                        [&](const Translation &t) { return serves(t, reader); });
        if (found != translations.end())
            return QString::fromLatin1(found->suffix);
    }
    return {};
}

QString systemTranslation()
{
    return isPlainEnvironment() ? QString() : translationFor(QLocale::system().uiLanguages());
}

void install(QCoreApplication &application, const QString &suffix, const QString &folder)
{
    if (suffix.isEmpty())
        return;
    auto own = loaded(QStringLiteral("crayvell_") + suffix, folder);
    if (!own)
        return;
    add(std::move(own), application);
    // Not on every system; without it the toolkit's dialogs stay English.
    add(loaded(QStringLiteral("qtbase_") + suffix,
               QLibraryInfo::path(QLibraryInfo::TranslationsPath)),
        application);
    // The toolkit would know the direction from its own texts alone.
    QGuiApplication::setLayoutDirection(QLocale(suffix).textDirection());
}

} // namespace languages
