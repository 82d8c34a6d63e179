# SPDX-License-Identifier: MIT
"""scripts/check-includes.py finds each kind of include that it is there to find."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "check-includes.py"


class CheckIncludesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def check(self, **files):
        """Writes files (path with __ for /, ending _h or _cpp: content) and returns the status and the output."""
        for name, content in files.items():
            stem, suffix = name.rsplit("_", 1)
            path = self.root / (stem.replace("__", "/") + "." + suffix)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(content)
        run = subprocess.run([sys.executable, SCRIPT, self.root], capture_output=True, text=True, check=False)
        return run.returncode, run.stdout

    def assert_finds(self, text, **files):
        status, output = self.check(**files)
        self.assertEqual(status, 1, output)
        self.assertIn(text, output)
        self.assertEqual(len(output.splitlines()), 1, output)

    def assert_fine(self, **files):
        status, output = self.check(**files)
        self.assertEqual(status, 0, output)

    def test_a_header_made_from_an_interface_file_beside_the_source_is_fine(self):
        self.assert_fine(src__app__W_ui="<ui/>", src__app__W_cpp='#include "ui_W.h"\n')

    def test_a_header_whose_interface_file_is_not_there(self):
        self.assert_finds("no file below", src__app__V_ui="<ui/>", src__app__W_cpp='#include "ui_W.h"\n')

    def test_a_made_header_stays_out_of_other_headers(self):
        self.assert_finds("no file below", src__app__W_ui="<ui/>", src__app__W_h='#include "ui_W.h"\n')

    def test_an_empty_tree_is_no_success(self):
        self.assertEqual(self.check()[0], 1)

    def test_the_desktop_around_the_application_knows_nothing_of_the_system(self):
        self.assert_fine(tools__measure__desktop__Panel_h="", tests__app__T_cpp='#include "measure/desktop/Panel.h"\n')
        self.assert_finds("the desktop around the application", src__platform__Log_h="",
                          tools__measure__desktop__Panel_h='#include "platform/Log.h"\n')

    def test_what_is_installed_includes_no_tool(self):
        self.assert_finds("what is installed includes the tool tools/unit/Firmware.h", tools__unit__Firmware_h="",
                          src__app__A_cpp='#include "unit/Firmware.h"\n')

    def test_the_installed_side_of_the_unit_includes_no_tool_either(self):
        self.assert_fine(src__unit__wire__Eye_h="", tools__unit__room__Optics_h='#include "unit/wire/Eye.h"\n')
        self.assert_finds("what is installed includes the tool tools/unit/room/Optics.h",
                          src__unit__bus__Bus_h='#include "unit/room/Optics.h"\n')

    def test_the_application_has_no_unit_in_software(self):
        self.assert_finds("app must not include unit", src__unit__wire__Eye_h="",
                          src__app__A_cpp='#include "unit/wire/Eye.h"\n')

    def test_tools_may_include_what_is_installed_and_the_unit(self):
        self.assert_fine(src__app__App_h="", tools__unit__Unit_h="", tools__emulated__Window_h='#include "app/App.h"',
                         tools__measure__main_cpp='#include "emulated/Window.h"\n#include "unit/Unit.h"\n')
        self.assert_finds("emulated must not include measure", tools__measure__Table_h="",
                          tools__emulated__View_cpp='#include "measure/Table.h"\n')

    def test_lower_floors_may_be_included_across_several_steps(self):
        self.assert_fine(src__platform__Log_h="", src__device__Unit_h="",
                         src__app__App_cpp='#include "platform/Log.h"\n#include "device/Unit.h"\n#include <vector>\n')

    def test_locks_of_the_system_lend_priorities(self):
        for lock in ("std::mutex mutex_;", "mutable std::recursive_mutex mutex_;", "std::condition_variable_any c;"):
            self.assert_finds("src/device/A.h:1: a lock that lends no priority", src__device__A_h=lock + "\n")
        self.assert_fine(src__device__A_h="std::unique_lock<std::mutex> hold_;\n",
                         src__device__Connection_cpp="static std::recursive_mutex lock;\n",
                         src__platform__PriorityInheritance_h="#include <pthread.h>\n",
                         tools__unit__A_h="std::mutex mutex_;\n")
        self.assert_finds("<pthread.h> does not belong in platform", src__platform__A_h="#include <pthread.h>\n")

    def test_a_cycle_of_three_files(self):
        self.assert_finds("a cycle: src/device/A.h -> src/device/B.h -> src/device/C.h -> src/device/A.h",
                          src__device__A_h='#include "device/B.h"', src__device__B_h='  #  include "device/C.h"',
                          src__device__C_h='#include "device/A.h"')

    def test_a_file_that_includes_itself(self):
        self.assert_finds("a cycle: src/device/A.h -> src/device/A.h", src__device__A_h='#include "device/A.h"')

    def test_a_lower_floor_must_not_include_a_higher_one(self):
        self.assert_finds("src/platform/Log.h:2: platform must not include device", src__device__Unit_h="",
                          src__platform__Log_h='// text\n#include "device/Unit.h"')

    def test_the_inside_of_the_driver_is_its_own(self):
        self.assert_fine(src__device__SharedState_h="", src__device__Unit_cpp='#include "device/SharedState.h"')
        self.assert_finds("src/app/Menu.cpp:1: src/device/SharedState.h is the inside of its folder",
                          src__app__Menu_cpp='#include "device/SharedState.h"')
        (self.root / "src/app/Menu.cpp").unlink()
        self.assert_finds("tests/kit/Driver.h:1: src/device/SharedState.h is the inside of its folder",
                          tests__kit__Driver_h='#include "device/SharedState.h"')

    def test_the_unit_in_software_must_not_know_the_driver(self):
        self.assert_finds("unit must not include device", src__device__Reports_h="",
                          src__unit__wire__Firmware_cpp='#include "device/Reports.h"')

    def test_the_parts_of_the_unit_know_the_wire_alone(self):
        self.assert_fine(src__unit__wire__Eye_h="", src__unit__bus__Bus_h='#include "unit/wire/Eye.h"',
                         tools__unit__room__Hand_h="", tools__unit__faults__Faults_h="",
                         tools__unit__Unit_h='#include "unit/bus/Bus.h"\n#include "unit/room/Hand.h"')
        self.assert_finds("unit/room must not include src/unit/bus/Bus.h",
                          tools__unit__room__Screen_h='#include "unit/bus/Bus.h"')
        (self.root / "tools/unit/room/Screen.h").unlink()
        self.assert_finds("unit/faults must not include tools/unit/Unit.h",
                          tools__unit__faults__Plug_h='#include "unit/Unit.h"')
        (self.root / "tools/unit/faults/Plug.h").unlink()
        self.assert_finds("unit/wire must not include src/unit/bus/Bus.h",
                          src__unit__wire__Firmware_h='#include "unit/bus/Bus.h"')

    def test_sight_and_capture_of_a_webcam_know_nothing_of_the_unit(self):
        self.assert_fine(src__webcam__sight__Spot_h="", src__webcam__camera__Camera_h='#include "webcam/sight/Spot.h"',
                         src__unit__wire__Eye_h="", src__app__Main_h="",
                         src__webcam__Eye_h='#include "unit/wire/Eye.h"\n#include "webcam/camera/Camera.h"\n'
                                            '#include "app/Main.h"')
        for included in ("unit/wire/Eye.h", "webcam/Eye.h", "webcam/camera/Camera.h", "app/Main.h"):
            self.assert_finds(f"webcam/sight must not include src/{included}",
                              src__webcam__sight__Finder_cpp=f'#include "{included}"')

    def test_the_linux_side_belongs_to_the_process_entry(self):
        self.assert_fine(src__linux_desktop__X_h="", src__app__main_cpp='#include "linux_desktop/X.h"',
                         src__app__DesktopPlatform_cpp='#include "linux_desktop/X.h"',
                         src__webcam__mainWebcam_cpp='#include "linux_desktop/X.h"\n#include <QApplication>')
        self.assert_finds("src/webcam/Desk.cpp:1: webcam must not include linux_desktop",
                          src__webcam__Desk_cpp='#include "linux_desktop/X.h"')
        (self.root / "src/webcam/Desk.cpp").unlink()
        self.assert_finds("src/app/Menu.cpp:1: app must not include linux_desktop",
                          src__app__Menu_cpp='#include "linux_desktop/X.h"')

    def test_a_source_must_not_include_a_test(self):
        self.assert_finds("a source includes the test file", tests__kit__Double_h="",
                          src__device__Unit_cpp='#include "kit/Double.h"')

    def test_an_unknown_folder(self):
        self.assert_finds("the folder extra has no place", src__platform__Log_h="",
                          src__extra__X_cpp='#include "platform/Log.h"')

    def test_a_missing_file_and_a_relative_path(self):
        self.assert_finds('"device/None.h" is no file', src__device__A_cpp='#include "device/None.h"')
        self.assert_finds('"../device/B.h" is no file', src__device__B_h="",
                          src__device__A_cpp='#include "../device/B.h"')

    def test_a_benchmark_names_its_own_headers_from_the_top(self):
        self.assert_fine(bench__Ratio_h="", bench__ABench_cpp='#include "bench/Ratio.h"')
        self.assert_finds('"bench/Ratio.h" is no file', src__device__A_cpp='#include "bench/Ratio.h"')

    def test_linux_headers_stay_in_their_folder(self):
        for header in ("linux/hidraw.h", "libudev.h", "X11/Xlib.h", "unistd.h", "QDBusConnection", "gtest/gtest.h"):
            self.assert_finds(f"<{header}> does not belong in device", src__device__A_cpp=f"#include <{header}>")
        self.assert_fine(src__device__A_cpp="", src__linux_desktop__A_cpp="#include <linux/hidraw.h>\n#include <QTimer>")

    def test_descriptors_belong_to_their_owner(self):
        self.assert_fine(src__platform__FileDescriptor_h="#include <unistd.h>")
        self.assert_finds("<poll.h> does not belong in unit", src__unit__wire__Firmware_cpp="#include <poll.h>")

    def test_files_do_not_belong_in_the_platform(self):
        self.assert_finds("<unistd.h> does not belong in platform", src__platform__Log_cpp="#include <unistd.h>")

    def test_qt_belongs_to_the_units_that_draw(self):
        self.assert_fine(src__device__FloatPanel_h="#include <QWidget>", src__app__Menu_cpp="#include <QMenu>",
                         src__calibration__KVRCalibrationWindow_cpp="#include <QtWidgets/QWidget>")
        self.assert_finds("<QWidget> does not belong in calibration",
                          src__calibration__Calibrator_h="#include <QWidget>")

    def test_x11_does_not_belong_in_a_unit_that_draws(self):
        self.assert_finds("<X11/Xlib.h> does not belong in device", src__device__PanelView_cpp="#include <X11/Xlib.h>")

    def test_a_whole_qt_module_is_too_much_anywhere(self):
        self.assert_finds("<QtWidgets> is a whole module", src__linux_desktop__A_cpp="#include <QtWidgets>")

    def test_an_include_by_macro_cannot_be_checked(self):
        self.assert_finds("no plain file name", src__device__A_cpp="#include HEADER")


if __name__ == "__main__":
    unittest.main()
