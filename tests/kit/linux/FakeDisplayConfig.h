// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QThread>

namespace lightpen {

// Mutter's service for the layout of screens, on a bus; it answers from a thread of its own, so that a test
// may wait for the program that asks. Methods are called from the test's thread and return when they have
// been done.
class FakeDisplayConfig {
public:
    enum class Answer { state, anotherForm, noScreens, refusal, never };

    // Not there yet. Throws when the bus cannot be had.
    explicit FakeDisplayConfig(const std::string& address);
    ~FakeDisplayConfig();
    FakeDisplayConfig(const FakeDisplayConfig&) = delete;
    FakeDisplayConfig& operator=(const FakeDisplayConfig&) = delete;

    // Takes its name on the bus, and gives it up.
    void appear();
    void disappear();
    // The screens by their outputs' names, from left to right, of which this one is the primary one; the last
    // shows what the last but one shows when it is mirrored. Nobody is told.
    void setScreens(std::vector<std::string> connectors, std::string primary, bool lastTwoMirrored = false);
    // What it says to those who ask.
    void setAnswer(Answer answer);
    // Tells everyone that something has changed.
    void tell();
    // How often it has been asked.
    int questions() const;

private:
    class Service;
    void perform(const std::function<void(Service&)>& operation) const;

    QThread thread_;
    std::unique_ptr<Service> service_;
};

} // namespace lightpen
