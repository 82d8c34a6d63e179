// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/LatePointer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <QCoreApplication>

#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"
#include "kit/linux/TestMain.h"
#include "measure/desktop/Eventually.h"

namespace lightpen {
namespace {

class SilentDevice final : public PointerDevice {
public:
    IOReturn send(std::optional<Place>, Button, bool) override { return kIOReturnSuccess; }
};

struct Devices : TemporaryDirectory {
    Devices() { std::ofstream(file("uinput")) << "node"; }
};

class LatePointerTest : public testing::Test {
protected:
    void changePermissions() {
        namespace fs = std::filesystem;
        fs::permissions(devices_.file("uinput"), fs::perms::others_write,
                        allowed_ ? fs::perm_options::add : fs::perm_options::remove);
    }
    template <class Condition>
    static bool comesTrue(Condition condition) {
        return eventually(
            condition, [] { QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 10); },
            std::chrono::seconds(10));
    }
    static void letEverythingHappen() {
        for (int i = 0; i < 50; ++i)
            QCoreApplication::processEvents();
    }

    RecordingLog log_;
    Devices devices_;
    bool allowed_ = false;
    int attempts_ = 0;
    SharedGeometry geometry_;
    LinuxPointer pointer_{{{"uinput",
                            [this](std::string& problem) {
                                ++attempts_;
                                problem = "no permission";
                                return allowed_ ? std::make_unique<SilentDevice>() : nullptr;
                            }}},
                          geometry_};
    LatePointer late_{pointer_, QString::fromStdString(devices_.path())};
};

TEST_F(LatePointerTest, IsFoundOnceItsNodeIsOpenedToTheUser) {
    changePermissions(); // to those of another user
    EXPECT_TRUE(comesTrue([&] { return attempts_ == 2; }));
    EXPECT_FALSE(pointer_.hasWay());
    allowed_ = true;
    changePermissions();
    EXPECT_TRUE(comesTrue([&] { return pointer_.hasWay(); }));
    EXPECT_EQ(log_.takeLines(), std::vector<std::string>{"Pointer: events go through uinput"});
}

TEST_F(LatePointerTest, IsFoundWhenSomebodyAsksForIt) {
    late_.tryAgain();
    EXPECT_EQ(attempts_, 2);
    allowed_ = true;
    late_.tryAgain();
    EXPECT_TRUE(pointer_.hasWay());
}

// The kernel may have no watch left to give.
TEST_F(LatePointerTest, IsFoundWhenSomebodyAsksThoughTheDevicesCannotBeWatched) {
    LatePointer blind(pointer_, QStringLiteral("/nowhere"));
    allowed_ = true;
    blind.tryAgain();
    EXPECT_TRUE(pointer_.hasWay());
}

TEST_F(LatePointerTest, IsNotLookedForAnyMoreOnceItIsThere) {
    allowed_ = true;
    late_.tryAgain();
    const int before = attempts_;
    allowed_ = false;
    changePermissions();
    std::filesystem::remove(devices_.file("uinput"));
    late_.tryAgain();
    letEverythingHappen();
    EXPECT_EQ(attempts_, before);
    EXPECT_TRUE(pointer_.hasWay());
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QCoreApplication>(argc, argv, lightpen::NoBus());
}
