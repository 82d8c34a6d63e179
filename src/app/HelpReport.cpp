// SPDX-License-Identifier: MIT
#include "app/HelpReport.h"

#include <array>
#include <fstream>
#include <iterator>
#include <string_view>
#include <variant>

#include <QDir>
#include <QGuiApplication>
#include <QScreen>
#include <QSysInfo>

#include "app/DefaultsReading.h"
#include "app/ProgramVersion.h"
#include "app/ReportedLog.h"
#include "device/EventGeneratorNX7.h"
#include "device/FloatPanel.h"
#include "platform/Platform.h"
#include "platform/PlatformSettings.h"

namespace lightpen {

namespace {

constexpr std::size_t kLogLines = 200;
// What the user may set. "Calibrated Screens" and "Known Units" have serial numbers in them.
constexpr std::array<std::string_view, 12> kSettings{kAutoCalibrationKey,
                                                     kLocaleIdentifierKey,
                                                     kLaunchAtStartUpKey,
                                                     kProjectionDistanceSettingKey,
                                                     kLanguageSettingKey,
                                                     kHelpMenuKey,
                                                     kDebugWindowKey,
                                                     kPointerKey,
                                                     kLogKey,
                                                     kMainScreenKey,
                                                     kProjectionDistanceKey,
                                                     kPreviewWindowKey};

class Report {
public:
    void section(const char* title) { text_ += (text_.empty() ? "" : "\n") + std::string(title) + "\n"; }
    void line(std::string_view name, const std::string& value) {
        text_ += "  " + std::string(name) + ": " + (value.empty() ? "none" : value) + "\n";
    }
    void line(std::string_view name, const QString& value) { line(name, value.toStdString()); }
    void add(const std::string& lines) { text_ += lines; }
    std::string text() const { return text_; }

private:
    std::string text_;
};

std::string textOf(const DefaultsValue& value) {
    if (const auto* flag = std::get_if<bool>(&value))
        return *flag ? "true" : "false";
    if (const auto* number = std::get_if<std::int64_t>(&value))
        return std::to_string(*number);
    if (const auto* number = std::get_if<double>(&value))
        return QString::number(*number).toStdString();
    return "\"" + std::get<std::string>(value) + "\"";
}

void addVersions(Report& report) {
    report.section("Versions");
    report.line("LightPenNX7", std::string(kProgramVersion));
    report.line("Qt", QString::fromLatin1(qVersion()));
    report.line("Kernel", QSysInfo::kernelType() + ' ' + QSysInfo::kernelVersion() + ", " +
                              QSysInfo::currentCpuArchitecture());
    report.line("System", QSysInfo::prettyProductName());
}

std::string textOf(const QScreen& screen) {
    const QRect frame = screen.geometry();
    return QStringLiteral("%1 x %2 points at (%3, %4), scale %5, %6 Hz")
        .arg(frame.width())
        .arg(frame.height())
        .arg(frame.x())
        .arg(frame.y())
        .arg(screen.devicePixelRatio())
        .arg(screen.refreshRate(), 0, 'f', 0)
        .toStdString();
}

void addDesktop(Report& report, const std::string& pointer) {
    report.section("Desktop");
    report.line("Desktop", qEnvironmentVariable("XDG_CURRENT_DESKTOP"));
    report.line("Session", qEnvironmentVariable("XDG_SESSION_TYPE"));
    report.line("Window system", QGuiApplication::platformName());
    const QScreen* const main = mainScreen();
    for (const QScreen* screen : QGuiApplication::screens())
        report.line("Screen " + screen->name().toStdString(),
                    textOf(*screen) + (screen == main ? ", has the picture" : ""));
    report.line("Pointer", pointer);
}

// A byte's high four bits stand before the point.
QString versionOf(int byte) {
    return QStringLiteral("%1.%2").arg((byte / 16) & 0xF).arg(byte & 0xF);
}

void addUnit(Report& report) {
    report.section("Camera unit");
    const EventGeneratorNX7& driver = *EventGeneratorNX7::sharedEventGeneratorNX7();
    const auto points = driver.calibrationPointsFromFlash();
    // Null: nothing was read from a unit yet.
    if (!EventGeneratorNX7::isUnitOpen() || !points)
        return report.line("Unit", std::string());
    report.line("Board version", versionOf(driver.venerPointsFromFlash()));
    report.line("Sensor version", versionOf(driver.cmosVerFromFlash()));
    report.line("Wireless", QString::number(EventGeneratorNX7::wirelessPointsFromFlash()));
    report.line("Threshold", QString::number(driver.threshold()));
    report.line("Exposure", QString::number(driver.forcedExposure()));
    report.line("Calibration points", QString::number(points->size()));
}

void addSettings(Report& report) {
    report.section("Settings");
    for (const std::string_view key : kSettings) {
        const auto value = Platform::current().defaults.objectForKey(key);
        report.line(key, value ? textOf(*value) : std::string());
    }
}

std::string contentsOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// What stood in the file before is in another one beside it.
void addLog(Report& report, const std::string& file) {
    report.section("Log");
    if (file.empty())
        return report.line("File", file);
    const std::string log = contentsOf(file + ".1") + contentsOf(file);
    // Where the home folder is a link, some lines have the place that it leads to.
    const QDir home(QDir::homePath());
    report.add(reportedLog(log, kLogLines, {home.canonicalPath().toStdString(), home.path().toStdString()}));
}

} // namespace

std::string helpReport(const ProgramFacts& facts) {
    Report report;
    addVersions(report);
    addDesktop(report, facts.pointer());
    addUnit(report);
    addSettings(report);
    addLog(report, facts.logFile);
    return report.text();
}

} // namespace lightpen
