#include "examples/canvas-tour/tourwindow.h"

#include <QAction>
#include <QButtonGroup>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGraphicsPathItem>
#include <QGraphicsPixmapItem>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QPainterPath>
#include <QPen>
#include <QPushButton>
#include <QScrollBar>
#include <QTextStream>
#include <QToolButton>
#include <QVBoxLayout>

#include "canvas/tarngraphicsview.h"

namespace {

struct Tool
{
    int mode;
    const char *name;
    const char *hint;
};

using View = TarnGraphicsView;

constexpr Tool tools[] {
    {View::ModeNone, "&No tool", "The canvas is an ordinary graphics view."},
    {View::ModeHand, "&Hand", "Drag to move the picture. Zoom in first if you see all of it."},
    {View::ModePen, "&Pen", "Drag with the left button to draw a line."},
    {View::ModeEraser, "&Eraser", "Click on stamps to take them away. Lines stay."},
    {View::ModeKeepMarker, "&Keep marker", "Drag to stamp green squares."},
    {View::ModeRemoveMarker, "&Remove marker", "Drag to stamp red discs."},
    {View::ModeBlueMarker, "&Blue marker", "Drag to stamp faint blue discs, which add up."},
    {View::ModeKeepBrush, "Keep br&ush", "Drag to report rectangles under the brush."},
    {View::ModeRemoveBrush, "Re&move brush", "Drag to report, like the keep brush."},
    {View::ModeWireSmartMarker, "&Smart wire marker",
     "Drag to mark wires, with the right button to unmark them."},
    {View::ModeWireMarker, "&Wire marker", "Does nothing until a host gives it a meaning."},
    {View::ModeWireEraser, "W&ire eraser", "Does nothing until a host gives it a meaning."},
};

// Keys of the settings and what they are for.
constexpr std::pair<const char *, const char *> sizes[] {
    {"KEEPMSIZE", "Keep marker"},    {"REMOVEMSIZE", "Remove marker"}, {"KEEPBSIZE", "Keep brush"},
    {"REMOVEBSIZE", "Remove brush"}, {"ERASERMSIZE", "Eraser"},        {"BLUEMSIZE", "Blue marker"},
};

constexpr int mostLines = 1000; // of the list; standard output gets them all

QString text(QRect r)
{
    return QStringLiteral("(%1, %2) %3 x %4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
}

QString text(QPoint p)
{
    return QStringLiteral("(%1, %2)").arg(p.x()).arg(p.y());
}

} // namespace

TourWindow::TourWindow(QWidget *parent)
    : QMainWindow(parent)
    , settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Crayvell"),
               QStringLiteral("canvas-tour"))
    , canvas(new TarnGraphicsView)
    , hint(new QLabel)
    , signalList(new QListWidget)
{
    setWindowTitle(QStringLiteral("Canvas tour"));
    // Every tool with a size of its own, unless the user has chosen otherwise.
    if (!settings.contains(QStringLiteral("SAMESIZECHECKED")))
        settings.setValue(QStringLiteral("SAMESIZECHECKED"), false);
    canvas->toolSettings = &settings;
    canvas->updatetoolssettings();
    canvas->setMouseTracking(true); // the outline follows without a button, too

    auto *left = new QVBoxLayout;
    left->addWidget(makeToolButtons());
    left->addWidget(makeSizeControls());
    left->addStretch();
    auto *row = new QHBoxLayout;
    row->addLayout(left);
    row->addLayout(makeCanvas(), 1);
    row->addWidget(makeSignalList());
    setCentralWidget(new QWidget);
    centralWidget()->setLayout(row);
    resize(1180, 800);

    listSignals(); // before the others, which may cause further signals
    connect(canvas, &View::HandTool, this, &TourWindow::pan);
    connect(canvas, &View::SmartSelect, this, &TourWindow::pickWire);
    connect(this, &TourWindow::wiresPicked, canvas, &View::WireMarker);
    connect(canvas, &View::WireMarker, this, &TourWindow::paintWires);
}

void TourWindow::showPicture(const QPixmap &picture)
{
    scene.clear();
    wires = QRegion();
    scene.setSceneRect(picture.rect()); // from (0, 0): the markers expect that
    scene.addPixmap(picture)->setTransformationMode(Qt::SmoothTransformation);
    // A path: the eraser takes rectangles and ellipses only.
    wireOverlay = scene.addPath(QPainterPath(), Qt::NoPen, QColor(255, 0, 0, 150));
    wireOverlay->setZValue(11.0); // above the stamps, below the outline
    canvas->setScene(&scene);
    canvas->fitInView(picture.rect(), Qt::KeepAspectRatio);
}

QWidget *TourWindow::makeToolButtons()
{
    auto *box = new QGroupBox(QStringLiteral("Tools"));
    auto *layout = new QVBoxLayout(box);
    auto *group = new QButtonGroup(box); // exclusive: one tool at a time
    for (const Tool &tool : tools) {
        auto *button = new QPushButton(QString::fromLatin1(tool.name));
        button->setCheckable(true);
        group->addButton(button);
        layout->addWidget(button);
        connect(button, &QPushButton::clicked, this, [this, &tool] {
            chooseTool(tool.mode);
            hint->setText(QString::fromLatin1(tool.hint));
        });
    }
    group->buttons().constFirst()->click();
    return box;
}

// The canvas leaves the rest of the tool before as it is: the hand's cursor, and
// a stroke that is not finished, since keys choose a tool in the middle of a drag.
void TourWindow::chooseTool(int mode)
{
    canvas->toolMode = mode;
    canvas->viewport()->unsetCursor();
    canvas->pathItem = nullptr;
    note("toolMode", QString::number(mode));
}

// Every control writes the settings and has the canvas read them again.
QWidget *TourWindow::makeSizeControls()
{
    auto *box = new QGroupBox(QStringLiteral("Sizes"));
    auto *form = new QFormLayout(box);
    const auto store = [this](const char *key, const QVariant &value) {
        settings.setValue(QString::fromLatin1(key), value);
        canvas->updatetoolssettings();
    };
    const auto stored = [this](const char *key, const char *preset) {
        return settings.value(QString::fromLatin1(key), QString::fromLatin1(preset));
    };

    auto *same = new QCheckBox(QStringLiteral("Same size for all but blue"));
    form->addRow(same);
    for (const auto &[key, label] : sizes) {
        auto *number = new QSpinBox;
        number->setRange(0, 255);
        number->setValue(stored(key, "10").toInt());
        form->addRow(QString::fromLatin1(label), number);
        connect(number, &QSpinBox::valueChanged, this,
                [store, key = key](int value) { store(key, value); });
        if (key != sizes[0].first) // while all are the same, only that one is read
            connect(same, &QCheckBox::toggled, number, &QWidget::setDisabled);
    }
    auto *opacity = new QDoubleSpinBox;
    opacity->setRange(0, 10);
    opacity->setSingleStep(0.1);
    opacity->setValue(stored("MOPACITY", "0.6").toDouble());
    form->addRow(QStringLiteral("Blue opacity"), opacity);
    connect(opacity, &QDoubleSpinBox::valueChanged, this,
            [store](double value) { store("MOPACITY", value); });
    connect(same, &QCheckBox::toggled, opacity, &QWidget::setDisabled);
    connect(same, &QCheckBox::toggled, this, [store](bool on) { store("SAMESIZECHECKED", on); });
    same->setChecked(stored("SAMESIZECHECKED", "true").toBool());
    return box;
}

QLayout *TourWindow::makeCanvas()
{
    hint->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    // As after its first resize, so that the picture does not shrink then.
    canvas->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    canvas->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    auto *top = new QHBoxLayout;
    top->addWidget(hint, 1);
    const auto addButton = [&](const char *name, const QKeySequence &keys, auto act) {
        auto *action = new QAction(QString::fromLatin1(name), this);
        action->setShortcut(keys);
        connect(action, &QAction::triggered, this, act);
        auto *button = new QToolButton;
        button->setDefaultAction(action);
        top->addWidget(button);
    };
    addButton("Zoom in", QKeySequence::ZoomIn, [this] { canvas->scale(1.25, 1.25); });
    addButton("Zoom out", QKeySequence::ZoomOut, [this] { canvas->scale(0.8, 0.8); });
    addButton("Fit", Qt::CTRL | Qt::Key_0,
              [this] { canvas->fitInView(scene.sceneRect(), Qt::KeepAspectRatio); });
    auto *layout = new QVBoxLayout;
    layout->addLayout(top);
    layout->addWidget(canvas, 1);
    return layout;
}

QWidget *TourWindow::makeSignalList()
{
    auto *box = new QGroupBox(QStringLiteral("Signals of the canvas"));
    auto *layout = new QVBoxLayout(box);
    signalList->setUniformItemSizes(true); // a new line needs no layout of the others
    layout->addWidget(signalList);
    box->setFixedWidth(300);
    return box;
}

void TourWindow::listSignals()
{
    connect(canvas, &View::ProgressStage, this, [this](const char *message) {
        note("ProgressStage", QString::fromLatin1(message)); // a copy: the text does not last
    });
    connect(canvas, &View::KeepBrush, this, [this](QRect rect) { note("KeepBrush", text(rect)); });
    connect(canvas, &View::RemoveBrush, this,
            [this](QRect rect) { note("RemoveBrush", text(rect)); });
    connect(canvas, &View::AnyBrush, this, [this](QRect rect, bool now) {
        const bool keep = canvas->toolMode == View::ModeKeepBrush;
        note("AnyBrush",
             text(rect) + QLatin1String(keep ? " keep" : " remove")
                 + QLatin1String(now ? " now" : ""));
    });
    connect(canvas, &View::HandTool, this, [this](QPoint from, QPoint to) {
        note("HandTool", text(from) + QStringLiteral(" to ") + text(to));
    });
    connect(canvas, &View::WireMarker, this,
            [this](const QRegion &region) { note("WireMarker", text(region.boundingRect())); });
    connect(canvas, &View::SmartSelect, this, [this](QRect rect, bool pressed, bool right) {
        note("SmartSelect",
             text(rect) + QLatin1String(pressed ? " pressed" : "")
                 + QLatin1String(right ? " right" : ""));
    });
}

// To the list, and to standard output for those who want to keep it.
void TourWindow::note(const char *signal, const QString &arguments)
{
    const QString line = QString::fromLatin1(signal) + QLatin1Char(' ') + arguments;
    signalList->addItem(line);
    if (signalList->count() > mostLines)
        delete signalList->takeItem(0);
    signalList->scrollToBottom();
    QTextStream(stdout) << line << Qt::endl;
}

// The ends are in scene units, the scroll bars in pixels of the viewport.
void TourWindow::pan(QPoint from, QPoint to)
{
    const QPoint moved = canvas->mapFromScene(to) - canvas->mapFromScene(from);
    canvas->horizontalScrollBar()->setValue(canvas->horizontalScrollBar()->value() - moved.x());
    canvas->verticalScrollBar()->setValue(canvas->verticalScrollBar()->value() - moved.y());
}

// Moves are reported without a button, too: the last press tells what a drag is
// for.
void TourWindow::pickWire(QRect rect, bool pressed, bool right)
{
    if (pressed)
        unmarking = right;
    else if (!canvas->mousePressed)
        return;
    wires = unmarking ? wires - rect : wires + rect;
    emit wiresPicked(wires);
}

void TourWindow::paintWires(const QRegion &region)
{
    QPainterPath path;
    path.addRegion(region);
    wireOverlay->setPath(path);
}
