// SPDX-License-Identifier: MIT
// What the entries of this folder's programs share.
#pragma once

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include <QApplication>

#include "linux_desktop/process/QtApplicationSetup.h"
#include "measure/CanvasProcess.h"
#include "measure/Requirement.h"

namespace lightpen {

// The path of another program, by its place beside this one.
inline std::string beside(const char* program) {
    return QCoreApplication::applicationDirPath().toStdString() + "/" + program;
}

// Makes the folder, unless it is there; its whole path.
inline std::filesystem::path folderNamed(const char* name) {
    std::filesystem::path folder = std::filesystem::absolute(name);
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    return folder;
}

// Ends this process and the canvas, without destructors: the driver's point thread still runs, and nothing is
// destroyed under it. Returns the exit status.
inline int endWithDriver(RunLoop& runLoop, CanvasProcess& canvas, bool well) {
    const int status = well ? EXIT_SUCCESS : EXIT_FAILURE;
    canvas.command("quit");
    std::fflush(stdout);
    runLoop.exitProcess(status);
    return status;
}

// Runs the program with Qt's application object; its exit status. What it throws is shown, and a failure.
template <class Program>
int runMeasureProgram(int argc, char** argv, Program program) {
    try {
        setUpQtMessages();
        const QApplication application(argc, argv);
        setUpQtApplication();
        return program();
    } catch (const std::exception& failure) {
        std::printf("%s\n", failure.what());
        return EXIT_FAILURE;
    }
}

} // namespace lightpen
