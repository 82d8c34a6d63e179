// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>

#include "kernel/support/ApplicationAtDesk.h"
#include "kernel/support/RuleFile.h"

namespace lightpen {

// The main function of a test at a desk with a panel: runs all tests, with the desk in the place given.
inline int testAtDeskWithPanel(int argc, char** argv, DeskWithPanel*& place) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    const PackagedRule rule;
    DeskWithPanel session;
    session.prepare();
    place = &session;
    return RUN_ALL_TESTS();
}

} // namespace lightpen
