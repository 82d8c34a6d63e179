// SPDX-License-Identifier: MIT
#include "emulated/UnitWindow.h"

#include <utility>

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

namespace lightpen {

namespace {

constexpr std::chrono::milliseconds kRefreshPeriod{100};

QVBoxLayout& groupIn(QBoxLayout& column, const QString& title) {
    auto* group = new QGroupBox(title);
    column.addWidget(group);
    return *new QVBoxLayout(group);
}

QLabel* labelled(const char* name) {
    auto* label = new QLabel;
    label->setObjectName(QLatin1String(name));
    return label;
}

// Without telling anybody: it follows what has happened elsewhere.
void follow(QCheckBox& box, bool checked) {
    const QSignalBlocker quiet(box);
    box.setChecked(checked);
}

} // namespace

UnitWindow::UnitWindow(UnitControl& control, Clock& clock, Surroundings surroundings)
    : control_(control), surroundings_(std::move(surroundings)), view_(new PenView(control, clock)) {
    setWindowTitle(QStringLiteral("Emulated camera unit"));
    auto* whole = new QVBoxLayout(this);
    auto* upper = new QHBoxLayout;
    auto* column = new QVBoxLayout;
    whole->addLayout(upper, 1);
    upper->addWidget(view_, 1);
    upper->addLayout(column);
    addPlug(*column);
    addRoom(*column);
    addFlash(*column);
    addFirmware(*column);
    column->addStretch();
    auto* hint = new QLabel(
        QStringLiteral("The mouse is the pen: what you draw in the view is played when you let go of the "
                       "button. Hold still for a right click."));
    hint->setWordWrap(true);
    whole->addWidget(hint);
    timer_.setInterval(kRefreshPeriod);
    QObject::connect(&timer_, &QTimer::timeout, this, [this] { refresh(); });
    refreshState();
}

QPushButton* UnitWindow::addButton(QVBoxLayout& column, const char* name, const QString& text,
                                   const std::function<void()>& pressed) {
    auto* button = new QPushButton(text);
    button->setObjectName(QLatin1String(name));
    QObject::connect(button, &QPushButton::clicked, this, [this, pressed] {
        pressed();
        refreshState();
    });
    column.addWidget(button);
    return button;
}

void UnitWindow::addPlug(QVBoxLayout& column) {
    QVBoxLayout& group = groupIn(column, QStringLiteral("Unit"));
    group.addWidget(labelled("plugState"));
    addButton(group, "plug", QStringLiteral("&Plug in"), [this] { control_.plug(); });
    addButton(group, "unplug", QStringLiteral("&Unplug"), [this] { control_.unplug(); });
    addButton(group, "replug", QStringLiteral("&Replug"), [this] { control_.replug(); });
}

void UnitWindow::addRoom(QVBoxLayout& column) {
    QVBoxLayout& group = groupIn(column, QStringLiteral("Room"));
    auto* light = new QCheckBox(QStringLiteral("&Stray light"));
    light->setObjectName(QStringLiteral("strayLight"));
    QObject::connect(light, &QCheckBox::toggled, this, [this](bool on) {
        control_.unit().strayLight(on ? std::optional(UnitControl::kLampBeside) : std::nullopt);
    });
    group.addWidget(light);
    auto* hand = new QCheckBox(QStringLiteral("&Hand touches targets"));
    hand->setObjectName(QStringLiteral("hand"));
    hand->setToolTip(QStringLiteral("During a calibration the pen touches each target that it sees."));
    QObject::connect(hand, &QCheckBox::toggled, this,
                     [this](bool on) { surroundings_.letHandTouchTargets(on); });
    group.addWidget(hand);
    auto* pose = new QComboBox;
    pose->setObjectName(QStringLiteral("pose"));
    for (const std::string_view name : UnitControl::poses())
        pose->addItem(QString::fromUtf8(name.data(), qsizetype(name.size())));
    QObject::connect(pose, &QComboBox::textActivated, this,
                     [this](const QString& name) { control_.pose(name.toStdString()); });
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("&Camera"), pose);
    group.addLayout(form);
    group.addWidget(labelled("filterState"));
}

void UnitWindow::addFlash(QVBoxLayout& column) {
    QVBoxLayout& group = groupIn(column, QStringLiteral("Flash"));
    group.addWidget(labelled("flashState"));
    addButton(group, "calibrate", QStringLiteral("S&tore a calibration"), [this] { control_.calibrate(); });
    addButton(group, "erase", QStringLiteral("&Erase"), [this] { control_.unit().flash()->erase(); });
}

void UnitWindow::addFirmware(QVBoxLayout& column) {
    QVBoxLayout& group = groupIn(column, QStringLiteral("Told at the next plug-in"));
    addByte(group, "wireless", QStringLiteral("&Wireless"), 1, &DeviceInformation::wireless);
    addByte(group, "board", QStringLiteral("&Board version"), 0xFF, &DeviceInformation::NX9Ver);
    addByte(group, "cmos", QStringLiteral("C&MOS version"), 0xFF, &DeviceInformation::cmosVer);
}

void UnitWindow::addByte(QVBoxLayout& column, const char* name, const QString& text, int last,
                         std::uint8_t DeviceInformation::*byte) {
    auto* box = new QSpinBox;
    box->setObjectName(QLatin1String(name));
    box->setRange(0, last);
    if (last > 9) {
        box->setDisplayIntegerBase(16);
        box->setPrefix(QStringLiteral("0x"));
    }
    QObject::connect(box, &QSpinBox::valueChanged, this, [this, byte](int value) {
        (*control_.unit().information()).*byte = static_cast<std::uint8_t>(value);
    });
    auto* form = new QFormLayout;
    form->addRow(text, box);
    column.addLayout(form);
}

void UnitWindow::refresh() {
    if (surroundings_.display)
        if (const auto display = surroundings_.display())
            view_->setDisplay(*display);
    view_->refresh();
    refreshState();
}

// The commands change the unit too, so everything follows it.
void UnitWindow::refreshState() {
    CameraUnit& unit = control_.unit();
    const bool plugged = unit.plugged();
    const auto say = [this](const char* name, const QString& text) {
        findChild<QLabel*>(QLatin1String(name))->setText(text);
    };
    const auto follows = [this](const char* name, int value) {
        auto* box = findChild<QSpinBox*>(QLatin1String(name));
        const QSignalBlocker quiet(box);
        if (box->value() != value) // else a number that is being typed would be written over
            box->setValue(value);
    };
    say("plugState", plugged ? QStringLiteral("Plugged in") : QStringLiteral("Not plugged in"));
    findChild<QPushButton*>(QStringLiteral("plug"))->setEnabled(!plugged);
    findChild<QPushButton*>(QStringLiteral("unplug"))->setEnabled(plugged);
    findChild<QPushButton*>(QStringLiteral("replug"))->setEnabled(plugged);
    follow(*findChild<QCheckBox*>(QStringLiteral("strayLight")), unit.scene().strayLight.has_value());
    follow(*findChild<QCheckBox*>(QStringLiteral("hand")), surroundings_.handTouchesTargets());
    findChild<QComboBox*>(QStringLiteral("pose"))
        ->setCurrentText(
            QString::fromUtf8(control_.poseName().data(), qsizetype(control_.poseName().size())));
    say("filterState", unit.firmware()->settings().filterOut ? QStringLiteral("Infrared filter: out")
                                                             : QStringLiteral("Infrared filter: in"));
    const bool calibrated = unit.flash()->calibrated();
    say("flashState", calibrated ? QStringLiteral("Holds a calibration") : QStringLiteral("Empty"));
    const DeviceInformation information = *unit.information();
    follows("wireless", information.wireless);
    follows("board", information.NX9Ver);
    follows("cmos", information.cmosVer);
}

void UnitWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    timer_.start();
}

void UnitWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    timer_.stop();
}

void UnitWindow::closeEvent(QCloseEvent* event) {
    QWidget::closeEvent(event);
    surroundings_.closed();
}

} // namespace lightpen
