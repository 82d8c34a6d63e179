// SPDX-License-Identifier: MIT
#include "webcam/camera/CameraList.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>

#include "webcam/camera/KeptText.h"
#include "webcam/camera/VideoModes.h"

namespace lightpen::webcam {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kNode = "video";
constexpr std::size_t kLongestIdentity = 100;
// So that there is room for what tells cameras apart that have the same.
constexpr std::size_t kLongestSerial = 60;

// The number of "video12"; none for what is named otherwise.
std::optional<unsigned> numberOf(const std::string& name) {
    unsigned number = 0;
    if (!name.starts_with(kNode))
        return std::nullopt;
    const char* const last = name.data() + name.size();
    const auto [end, error] = std::from_chars(name.data() + kNode.size(), last, number);
    return error == std::errc() && end == last ? std::optional(number) : std::nullopt;
}

// The first line of a small file of the machine's; empty when there is none.
std::string lineOf(const fs::path& path) {
    std::string line;
    std::ifstream file(path);
    std::getline(file, line);
    return plainText(line.substr(0, 200));
}

std::string identityOf(std::string_view text) {
    return plainName(text, kLongestIdentity);
}

// The folder of the USB device that this one is a part of; empty when it is none.
fs::path usbDeviceOf(fs::path device) {
    std::error_code error;
    for (; device.has_relative_path(); device = device.parent_path())
        if (fs::exists(device / "idVendor", error))
            return device;
    return {};
}

// Fills in what the machine tells of the node without opening it.
void describe(const fs::path& entry, CameraInfo& camera) {
    std::error_code error;
    const fs::path device = fs::canonical(entry / "device", error);
    camera.name = lineOf(entry / "name");
    std::string identity = device.filename().string();
    if (const fs::path usb = usbDeviceOf(device); !usb.empty()) {
        camera.usb = lineOf(usb / "idVendor") + ":" + lineOf(usb / "idProduct");
        const std::string serial = lineOf(usb / "serial").substr(0, kLongestSerial);
        identity = camera.usb + (serial.empty() ? "-at-" + usb.filename().string() : "-" + serial);
        camera.builtIn = lineOf(usb / "removable") == "fixed";
        // A device may have several cameras, as one for colours and one for infrared.
        if (const std::string part = lineOf(device / "bInterfaceNumber"); !part.empty() && part != "00")
            identity += "-part-" + part;
    }
    if (const std::string index = lineOf(entry / "index"); !index.empty() && index != "0")
        identity += "-" + index;
    camera.identity = identityOf(identity.empty() ? entry.filename().string() : identity);
}

// The port of a camera on USB; of others the node, for want of a better.
std::string placeOf(const fs::path& entry) {
    std::error_code error;
    const fs::path usb = usbDeviceOf(fs::canonical(entry / "device", error));
    return (usb.empty() ? entry : usb).filename().string();
}

// Cheap cameras have their serial number in common. Each of these is where it is, so that none gets what
// belongs to another when they come in another order.
void tellApart(std::vector<CameraInfo>& cameras, const std::vector<std::string>& places) {
    std::map<std::string, int> count;
    for (const CameraInfo& camera : cameras)
        ++count[camera.identity];
    for (std::size_t i = 0; i < cameras.size(); ++i)
        if (std::string& identity = cameras[i].identity; count[identity] > 1)
            identity = identityOf(std::string(identity).append("-at-").append(places[i]));
}

// Opens the node and asks; false when it is no camera.
bool ask(VideoDevices& devices, CameraInfo& camera) {
    const OpenedVideo opened = devices.open(camera.node);
    camera.problem = opened.device ? CameraProblem() : problemOfError(camera.node, opened.error);
    if (camera.problem)
        return true;
    int error = 0;
    const auto told = nodeOf(*opened.device, error);
    camera.problem = told ? problemOfNode(camera.node, *told) : problemOfError(camera.node, error);
    if (camera.problem)
        return camera.problem.kind != CameraProblem::Kind::notACamera;
    camera.driver = told->names.driver;
    if (camera.name.empty())
        camera.name = told->names.card;
    camera.modes = modesOf(*opened.device);
    camera.problem = problemOfModes(camera.node, camera.modes);
    if (!camera.problem && isBusy(*opened.device))
        camera.problem = problemOfError(camera.node, EBUSY);
    return true;
}

// Of several nodes of a camera that may not be opened, the first stands for all.
bool standsForAnother(const CameraInfo& camera, const fs::path& entry) {
    const std::string index = lineOf(entry / "index");
    return camera.problem.kind == CameraProblem::Kind::notPermitted && !index.empty() && index != "0";
}

// The modes with the same format and size as the first, which stand together.
std::string textOfSizes(const std::vector<CameraMode>& modes) {
    std::string text;
    std::vector<CameraMode> left = modes;
    while (!left.empty()) {
        const CameraMode first = left.front();
        const auto same = [&](const CameraMode& mode) {
            return std::tie(mode.format, mode.width, mode.height) ==
                   std::tie(first.format, first.width, first.height);
        };
        std::string rates;
        for (const CameraMode& mode : left)
            if (same(mode) && mode.rate > 0)
                rates += (rates.empty() ? " at " : ", ") + textOfRate(mode.rate);
        CameraMode size = first;
        size.rate = 0;
        text += "    " + textOf(size) + rates + (rates.empty() ? "" : " a second") + "\n";
        left.erase(std::remove_if(left.begin(), left.end(), same), left.end());
    }
    return text;
}

} // namespace

std::vector<CameraInfo> listCameras(VideoDevices& devices, const VideoFolders& folders) {
    std::vector<std::pair<unsigned, fs::path>> entries;
    std::error_code error;
    for (fs::directory_iterator entry(folders.system, error), end; !error && entry != end;
         entry.increment(error))
        if (const auto number = numberOf(entry->path().filename().string()))
            entries.emplace_back(*number, entry->path());
    std::sort(entries.begin(), entries.end());
    std::vector<CameraInfo> cameras;
    std::vector<std::string> places; // of these
    for (const auto& [number, entry] : entries) {
        CameraInfo camera;
        camera.node = folders.nodes + "/" + entry.filename().string();
        describe(entry, camera);
        if (!ask(devices, camera) || standsForAnother(camera, entry))
            continue;
        cameras.push_back(std::move(camera));
        places.push_back(placeOf(entry));
    }
    tellApart(cameras, places);
    return cameras;
}

const CameraInfo* chosenCamera(const std::vector<CameraInfo>& cameras) {
    const CameraInfo* chosen = nullptr;
    for (const CameraInfo& camera : cameras) {
        if (camera.problem || camera.modes.empty())
            continue;
        const bool better = !chosen || (camera.builtIn != chosen->builtIn
                                            ? chosen->builtIn
                                            : isBetter(camera.modes.front(), chosen->modes.front()));
        if (better)
            chosen = &camera;
    }
    return chosen;
}

const CameraInfo* cameraMeant(const std::vector<CameraInfo>& cameras, const std::string& wanted) {
    std::error_code error;
    const std::string linked = fs::canonical(wanted, error).string();
    for (const CameraInfo& camera : cameras) {
        const std::string shortNode = fs::path(camera.node).filename().string();
        if (wanted == camera.node || wanted == shortNode || wanted == camera.identity ||
            wanted == camera.name || (!linked.empty() && linked == camera.node))
            return &camera;
    }
    return nullptr;
}

const CameraInfo* usedCamera(const std::vector<CameraInfo>& cameras, const std::string& wanted) {
    const CameraInfo* const camera = wanted.empty() ? chosenCamera(cameras) : cameraMeant(cameras, wanted);
    return camera && !camera->problem ? camera : nullptr;
}

std::string listText(const std::vector<CameraInfo>& cameras, const std::string& wanted) {
    const CameraInfo* const used = usedCamera(cameras, wanted);
    std::string text = cameras.empty() ? "There is no camera.\n" : "";
    for (const CameraInfo& camera : cameras) {
        text += camera.node + ": " + camera.name + (camera.usb.empty() ? "" : " (" + camera.usb + ")") +
                (camera.builtIn ? ", built in" : "") + "\n";
        if (camera.problem)
            text += "    not used: " + camera.problem.text + "\n";
        else if (&camera == used)
            text += "    used, with " + textOf(camera.modes.front()) + "\n";
        else
            text += "    not used: " +
                    (wanted.empty() ? used->node + " goes before" : wanted + " was asked for") + "\n";
        text += textOfSizes(camera.modes);
    }
    if (!wanted.empty() && !cameraMeant(cameras, wanted))
        text += wanted + " was asked for and is not there\n";
    return text;
}

} // namespace lightpen::webcam
