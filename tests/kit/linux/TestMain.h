// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <type_traits>

#include <QGuiApplication>

#include "kit/PrivateBus.h"
#include "kit/Xvfb.h"

namespace lightpen {

// The main of tests that need a Qt application of this kind in surroundings of their own, which are entered
// before it is made: Xvfb, PrivateBus, NoBus. A death test gets a process of its own, surroundings included,
// since Qt keeps its display and its bus for ever.
template <class Application, class... Surroundings>
int runTests(int argc, char** argv, const Surroundings&... surroundings) {
    testing::InitGoogleTest(&argc, argv);
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    (surroundings.enter(), ...);
    const Application application(argc, argv);
    if constexpr (std::is_base_of_v<QGuiApplication, Application>)
        QGuiApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}

} // namespace lightpen
