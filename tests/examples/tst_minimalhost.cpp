#include <QtTest>

#include "tests/support/testreport.h"

// The program that the README of the tour prints, as it is printed there. Its
// application is the one of this test, too.
#define main minimalHost
#include MINIMAL_HOST
#undef main

namespace {

QStringList reports;

void keepReport(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtInfoMsg) // QTest warns of an event that nobody accepts
        reports.append(message);
}

// Runs as soon as the host's event loop does.
void workTheHost()
{
    const auto windows = QApplication::topLevelWidgets();
    auto *view = windows.isEmpty() ? nullptr : qobject_cast<QGraphicsView *>(windows.first());
    if (view) {
        const auto previous = qInstallMessageHandler(keepReport);
        QTest::mousePress(view->viewport(), Qt::LeftButton, {}, view->mapFromScene(300, 200));
        QTest::mouseRelease(view->viewport(), Qt::LeftButton, {}, view->mapFromScene(300, 200));
        qInstallMessageHandler(previous);
    }
    QApplication::quit();
}

void onStartUp()
{
    QTimer::singleShot(0, workTheHost);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(onStartUp)

class MinimalHostTest : public QObject
{
    Q_OBJECT

private slots:
    void reportsAPress();
};

void MinimalHostTest::reportsAPress()
{
    int argc = 1;
    QByteArray name("minimalhost");
    char *argv[] {name.data(), nullptr};
    QCOMPARE(minimalHost(argc, argv), 0);
    QCOMPARE(reports.join(u'\n'), QStringLiteral("QRect(290,190 20x20) true"));
}

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    MinimalHostTest tests;
    return runTestsOf(tests, argc, argv);
}
#include "tst_minimalhost.moc"
