// SPDX-License-Identifier: MIT
// The application itself, started and used from outside: as a show for ./demo, and for the pictures of its
// documents.
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>

#include <QApplication>

#include "linux_desktop/process/QtApplicationSetup.h"
#include "linux_desktop/process/QtRunLoop.h"
#include "linux_desktop/process/SystemClock.h"
#include "measure/ApplicationPictures.h"
#include "measure/ApplicationShow.h"

namespace lightpen {
namespace {

std::string beside(const char* program) {
    return QCoreApplication::applicationDirPath().toStdString() + program;
}

std::string perform(bool pictures, const std::filesystem::path& output) {
    const std::string application = beside("/../emulated/LightPenNX7-emulated/LightPenNX7-emulated");
    if (pictures)
        return ApplicationPictures(application, output).take();
    SystemClock clock;
    QtRunLoop runLoop(clock);
    return ApplicationShow(application, beside("/lightpen-canvas"), runLoop, output).run();
}

int applicationMain(int argc, char** argv) {
    setUpQtMessages();
    const QApplication application(argc, argv);
    setUpQtApplication();
    const bool pictures = argc == 3 && std::strcmp(argv[1], "--pictures") == 0;
    if (!pictures && (argc != 3 || std::strcmp(argv[1], "--output") != 0)) {
        std::fputs("usage: lightpen-application --output FOLDER     the show\n"
                   "       lightpen-application --pictures FOLDER   the documents' pictures\n",
                   stderr);
        return 2;
    }
    const std::filesystem::path output = std::filesystem::absolute(argv[2]);
    std::filesystem::create_directories(output);
    const std::string problem = perform(pictures, output);
    if (!problem.empty())
        std::printf("%s\n", problem.c_str());
    return problem.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    try {
        return lightpen::applicationMain(argc, argv);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return EXIT_FAILURE;
    }
}
