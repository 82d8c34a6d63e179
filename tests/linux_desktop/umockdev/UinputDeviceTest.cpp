// SPDX-License-Identifier: MIT
// How the virtual pointer is made, call by call, on a simulated /dev/uinput.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/uinput.h>
#include <umockdev.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "linux_desktop/pointer/UinputPointer.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

// Plays the kernel's side. umockdev calls it on a thread of its own.
class SimulatedUinput {
public:
    SimulatedUinput()
        : bed_(umockdev_testbed_new(), g_object_unref), base_(umockdev_ioctl_base_new(), g_object_unref) {
        EXPECT_TRUE(umockdev_in_mock_environment()) << "to be run as: umockdev-wrapper <program>";
        EXPECT_TRUE(umockdev_testbed_add_from_string(bed_.get(),
                                                     "P: /devices/virtual/misc/uinput\nN: uinput\n"
                                                     "E: SUBSYSTEM=misc\nE: DEVNAME=/dev/uinput\n",
                                                     nullptr));
        g_signal_connect(base_.get(), "handle-ioctl", G_CALLBACK(handle), this);
        EXPECT_TRUE(umockdev_testbed_attach_ioctl(bed_.get(), kUinputPath, base_.get(), nullptr));
    }

    std::vector<std::string> calls() const {
        const std::lock_guard hold(mutex_);
        return calls_;
    }
    // Answers this request with an error from now on.
    void refuse(unsigned long request) {
        const std::lock_guard hold(mutex_);
        refused_ = request;
    }

private:
    template <class Structure>
    static Structure structureOf(UMockdevIoctlData* argument) {
        Structure structure{};
        auto* data = umockdev_ioctl_data_resolve(argument, 0, sizeof structure, nullptr);
        if (data)
            std::memcpy(&structure, data->data, sizeof structure);
        g_clear_object(&data);
        return structure;
    }
    static void answer(UMockdevIoctlData* argument, unsigned number) {
        auto* data = umockdev_ioctl_data_resolve(argument, 0, sizeof number, nullptr);
        if (data)
            umockdev_ioctl_data_update(data, 0, reinterpret_cast<guint8*>(&number), sizeof number);
        g_clear_object(&data);
    }
    static std::string numberOf(UMockdevIoctlData* argument) {
        long number = 0;
        std::memcpy(&number, argument->data, sizeof number);
        return std::to_string(number);
    }

    static std::string describe(unsigned long request, UMockdevIoctlData* argument) {
        switch (request) {
        case UI_SET_EVBIT:
            return "type " + numberOf(argument);
        case UI_SET_KEYBIT:
            return "key " + numberOf(argument);
        case UI_SET_ABSBIT:
            return "axis " + numberOf(argument);
        case UI_SET_PROPBIT:
            return "property " + numberOf(argument);
        case UI_ABS_SETUP: {
            const auto setup = structureOf<uinput_abs_setup>(argument);
            return "axis " + std::to_string(setup.code) + " from " + std::to_string(setup.absinfo.minimum) +
                   " to " + std::to_string(setup.absinfo.maximum);
        }
        case UI_DEV_SETUP:
            return std::string("name ") + structureOf<uinput_setup>(argument).name;
        case UI_DEV_CREATE:
            return "create";
        case UI_DEV_DESTROY:
            return "destroy";
        default:
            return "other " + std::to_string(_IOC_NR(request));
        }
    }

    static gboolean handle(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer self) {
        auto& uinput = *static_cast<SimulatedUinput*>(self);
        const auto request = umockdev_ioctl_client_get_request(client);
        if (request == UI_GET_VERSION)
            answer(umockdev_ioctl_client_get_arg(client), UINPUT_VERSION);
        const std::lock_guard hold(uinput.mutex_);
        uinput.calls_.push_back(describe(request, umockdev_ioctl_client_get_arg(client)));
        if (request == uinput.refused_)
            umockdev_ioctl_client_complete(client, -1, EPERM);
        else
            umockdev_ioctl_client_complete(client, 0, 0);
        return TRUE;
    }

    std::unique_ptr<UMockdevTestbed, void (*)(gpointer)> bed_;
    std::unique_ptr<UMockdevIoctlBase, void (*)(gpointer)> base_;
    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
    unsigned long refused_ = 0;
};

TEST(UinputDevice, IsAskedForWhatIsUsedCreatedOnceAndVanishesWithItsOwner) {
    const SimulatedUinput uinput;
    std::string problem;
    auto device = UinputPointer::create(kUinputPath, problem);
    ASSERT_TRUE(device) << problem;
    auto calls = uinput.calls();
    // In front of and behind these, the library asks for the kernel's version and the device's name.
    calls.erase(calls.begin());
    calls.pop_back();
    EXPECT_THAT(calls, ElementsAre("type 0", "type 1", "key 272", "key 273", "key 274", "type 3", "axis 0",
                                   "axis 0 from 0 to 65535", "axis 1", "axis 1 from 0 to 65535",
                                   "name LightPenNX7 pointer", "create"));
    device.reset();
    EXPECT_EQ(uinput.calls().back(), "destroy");
}

class UinputDeviceRefusal : public testing::TestWithParam<unsigned long> {};

TEST_P(UinputDeviceRefusal, OfAnyCallIsAReason) {
    SimulatedUinput uinput;
    uinput.refuse(GetParam());
    std::string problem;
    EXPECT_FALSE(UinputPointer::create(kUinputPath, problem));
    EXPECT_EQ(problem, "/dev/uinput: no device can be made: Operation not permitted");
}

INSTANTIATE_TEST_SUITE_P(Each, UinputDeviceRefusal,
                         testing::Values(UI_SET_EVBIT, UI_SET_KEYBIT, UI_SET_ABSBIT, UI_ABS_SETUP,
                                         UI_DEV_SETUP, UI_DEV_CREATE));

} // namespace
} // namespace lightpen
