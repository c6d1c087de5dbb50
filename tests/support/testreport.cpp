#include "tests/support/testreport.h"

#include <QDir>
#include <QFileInfo>
#include <QXmlStreamReader>
#include <QtTest>

namespace {

constexpr int failed = 1;
constexpr int skipped = 77; // what ctest is told to take for it

// A program may run several objects. One that it starts itself writes no report.
QString nextReport()
{
    static const QString name = QFile::decodeName(qgetenv("CRAYVELL_TEST_REPORT"));
    static int count = 0;
    qunsetenv("CRAYVELL_TEST_REPORT");
    if (name.isEmpty())
        return {};
    QDir().mkpath(QFileInfo(name).path());
    return ++count == 1 ? name + QStringLiteral(".xml")
                        : QStringLiteral("%1-%2.xml").arg(name).arg(count);
}

// The set-up of the whole is no test: where it skips, nothing was tested.
bool hasTested(const QString &report)
{
    QFile file(report);
    if (!file.open(QIODevice::ReadOnly))
        return true;
    QXmlStreamReader xml(&file);
    bool isRow = false;
    while (!xml.atEnd()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::StartElement && xml.name() == u"testcase") {
            const auto name = xml.attributes().value(QLatin1String("name"));
            isRow = name != u"initTestCase" && name != u"cleanupTestCase";
        } else if (token == QXmlStreamReader::StartElement && xml.name() == u"skipped") {
            isRow = false;
        } else if (token == QXmlStreamReader::EndElement && xml.name() == u"testcase" && isRow) {
            return true;
        }
    }
    return xml.hasError();
}

} // namespace

int runTestsOf(QObject &tests, int argc, char **argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QFile::decodeName(argv[i]);
    const QString report = nextReport();
    QFile file(report);
    if (!report.isEmpty() && file.open(QIODevice::WriteOnly)) {
        // By its number: a comma within its name would end that.
        arguments << QStringLiteral("-o") << QStringLiteral("-,txt") << QStringLiteral("-o")
                  << QStringLiteral("/proc/self/fd/%1,junitxml").arg(file.handle());
    }
    // The number of failures: 77 of them would be a skip, and 256 none.
    if (QTest::qExec(&tests, arguments) != 0)
        return failed;
    return report.isEmpty() || hasTested(report) ? 0 : skipped;
}
