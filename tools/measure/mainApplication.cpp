// SPDX-License-Identifier: MIT
// The application itself, started and used from outside: as a show for ./demo, and for the pictures of its
// documents.
#include <cstdio>
#include <cstring>

#include "linux_desktop/process/QtRunLoop.h"
#include "linux_desktop/process/SystemClock.h"
#include "measure/ApplicationPictures.h"
#include "measure/ApplicationShow.h"
#include "measure/MeasureProgram.h"

namespace lightpen {
namespace {

int applicationMain(int argc, char** argv) {
    const bool pictures = argc == 3 && std::strcmp(argv[1], "--pictures") == 0;
    if (!pictures && (argc != 3 || std::strcmp(argv[1], "--output") != 0)) {
        std::fputs("usage: lightpen-application --output FOLDER     the show\n"
                   "       lightpen-application --pictures FOLDER   the documents' pictures\n",
                   stderr);
        return 2;
    }
    const std::filesystem::path output = folderNamed(argv[2]);
    const std::string application = beside("../emulated/LightPenNX7-emulated/LightPenNX7-emulated");
    SystemClock clock;
    QtRunLoop runLoop(clock);
    if (pictures)
        ApplicationPictures(application, output).take();
    else
        ApplicationShow(application, beside("lightpen-canvas"), runLoop, output).run();
    return EXIT_SUCCESS;
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runMeasureProgram(argc, argv, [&] { return lightpen::applicationMain(argc, argv); });
}
