// SPDX-License-Identifier: MIT
#include "measure/desktop/ApplicationProcess.h"

#include <signal.h>
#include <sys/prctl.h>

#include <utility>

#include <QProcessEnvironment>
#include <QStringList>

#include "measure/desktop/Patience.h"

namespace lightpen {

std::map<std::string, std::string> environmentOf(const std::filesystem::path& home) {
    return {{"HOME", home},
            {"XDG_CONFIG_HOME", home / "config"},
            {"XDG_DATA_HOME", home / "data"},
            {"XDG_CACHE_HOME", home / "cache"},
            {"XDG_STATE_HOME", home / "state"},
            {"LC_ALL", "C.UTF-8"},
            {"LANGUAGE", ""}};
}

ApplicationProcess::ApplicationProcess(std::string program) : program_(std::move(program)) {
    QObject::connect(&process_, &QProcess::readyReadStandardOutput, &process_, [this] { read(); });
    QObject::connect(&process_, &QProcess::readyReadStandardError, &process_, [this] { read(); });
    // It ends with this process, however that ends.
    process_.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

ApplicationProcess::~ApplicationProcess() {
    if (!running())
        return;
    process_.kill();
    process_.waitForFinished();
}

std::string ApplicationProcess::start(const std::vector<std::string>& arguments,
                                      const std::map<std::string, std::string>& environment) {
    log_.clear();
    answers_.clear();
    unwanted_ = 0;
    QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : environment)
        all.insert(QString::fromStdString(name), QString::fromStdString(value));
    process_.setProcessEnvironment(all);
    QStringList words{QStringLiteral("--log"), QStringLiteral("stderr")};
    for (const std::string& argument : arguments)
        words += QString::fromStdString(argument);
    process_.start(QString::fromStdString(program_), words);
    return process_.waitForStarted() ? "" : program_ + ": " + process_.errorString().toStdString();
}

std::optional<std::string> ApplicationProcess::ask(const std::string& command) {
    write(command);
    if (!comesTrue([&] { return static_cast<int>(answers_.size()) > unwanted_ || !running(); }) ||
        static_cast<int>(answers_.size()) <= unwanted_)
        return std::nullopt;
    for (; unwanted_ > 0; --unwanted_)
        answers_.pop_front();
    std::string answer = std::move(answers_.front());
    answers_.pop_front();
    return answer;
}

bool ApplicationProcess::perform(const std::string& command) {
    const auto answer = ask(command);
    return answer && answer->starts_with("ok");
}

bool ApplicationProcess::isIn(const std::string& state) {
    return ask("state").value_or("").find(state) != std::string::npos;
}

void ApplicationProcess::tell(const std::string& command) {
    ++unwanted_;
    write(command);
}

void ApplicationProcess::write(const std::string& command) {
    process_.write((command + "\n").c_str());
}

bool ApplicationProcess::waitForLog(const std::string& text, std::size_t behind) {
    return comesTrue([&] { return log_.find(text, behind) != std::string::npos; });
}

void ApplicationProcess::send(int signal) {
    if (running())
        ::kill(static_cast<pid_t>(process_.processId()), signal);
}

std::optional<int> ApplicationProcess::waitForEnd() {
    if (!comesTrue([&] { return !running(); }))
        return std::nullopt;
    read();
    return process_.exitStatus() == QProcess::NormalExit ? std::optional(process_.exitCode()) : std::nullopt;
}

void ApplicationProcess::read() {
    log_ += process_.readAllStandardError().toStdString();
    while (process_.canReadLine())
        answers_.push_back(process_.readLine().chopped(1).toStdString());
}

} // namespace lightpen
