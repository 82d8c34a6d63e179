// SPDX-License-Identifier: MIT
#include "emulated/ScreenCapture.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <xcb/damage.h>
#include <xcb/shm.h>

#include <algorithm>
#include <bit>
#include <utility>

#include "platform/FileDescriptor.h"

namespace lightpen {

namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr std::uint32_t kAllPlanes = 0xFFFFFFFF;
// A desktop may change its size between the question for it and the picture.
constexpr int kTries = 3;

std::size_t sizeOf(const PixelRect& area) {
    return static_cast<std::size_t>(area.width) * static_cast<std::size_t>(area.height) * kPixelBytes;
}

template <class Number>
Number narrow(int value) {
    return static_cast<Number>(value); // within the protocol's 16 bits, as the desktop's size is
}

// Whether the server keeps a pixel as this program reads it: 0xRRGGBB in 32 bits.
bool readable(xcb_connection_t* connection, const xcb_screen_t& screen) {
    const xcb_setup_t* setup = xcb_get_setup(connection);
    const bool littleEndian = setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
    if (littleEndian != (std::endian::native == std::endian::little))
        return false;
    bool wide = false;
    for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem; xcb_format_next(&format))
        wide = wide || (format.data->depth == screen.root_depth && format.data->bits_per_pixel == 32);
    if (!wide)
        return false;
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem; xcb_depth_next(&depth))
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem; xcb_visualtype_next(&visual))
            if (visual.data->visual_id == screen.root_visual)
                return visual.data->red_mask == 0xFF0000 && visual.data->green_mask == 0xFF00 &&
                       visual.data->blue_mask == 0xFF;
    return false;
}

bool sharesMemoryByDescriptor(xcb_connection_t* connection) {
    const auto* extension = xcb_get_extension_data(connection, &xcb_shm_id);
    if (!extension || !extension->present)
        return false;
    const auto version =
        owned(xcb_shm_query_version_reply(connection, xcb_shm_query_version(connection), nullptr));
    return version && (version->major_version > 1 || version->minor_version >= 2);
}

} // namespace

// Memory that the server writes pictures into.
class ScreenCapture::Memory {
public:
    // Null when there is none or the server, which may be another machine's, cannot have it.
    static std::unique_ptr<Memory> create(xcb_connection_t* connection, std::size_t size) {
        FileDescriptor file(::memfd_create("lightpen-screen", MFD_CLOEXEC));
        if (!file || retryInterrupted([&] { return ::ftruncate(file.get(), static_cast<off_t>(size)); }) != 0)
            return nullptr;
        void* address = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
        if (address == MAP_FAILED)
            return nullptr;
        std::unique_ptr<Memory> memory(new Memory(connection, address, size));
        const int given = ::fcntl(file.get(), F_DUPFD_CLOEXEC, 0); // the library closes what it has sent
        if (given < 0)
            return nullptr;
        const auto request = xcb_shm_attach_fd_checked(connection, memory->segment_, given, 0);
        memory->attached_ = !owned(xcb_request_check(connection, request));
        return memory->attached_ ? std::move(memory) : nullptr;
    }
    ~Memory() {
        if (attached_)
            xcb_shm_detach(connection_, segment_);
        ::munmap(address_, size_);
    }
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    std::size_t size() const { return size_; }
    xcb_shm_seg_t segment() const { return segment_; }
    const std::uint8_t* bytes() const { return static_cast<const std::uint8_t*>(address_); }

private:
    Memory(xcb_connection_t* connection, void* address, std::size_t size)
        : connection_(connection), address_(address), size_(size), segment_(xcb_generate_id(connection)) {}

    xcb_connection_t* const connection_;
    void* const address_;
    const std::size_t size_;
    const xcb_shm_seg_t segment_;
    bool attached_ = false;
};

std::unique_ptr<ScreenCapture> ScreenCapture::create(const char* display, std::string& problem,
                                                     AreaOfNow area) {
    XConnection connection = connectToX(display);
    if (!connection) {
        problem = "the X display cannot be reached";
        return nullptr;
    }
    const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
    if (!readable(connection.get(), screen)) {
        problem = "the X display's pixels are not 8 bits of red, green and blue each";
        return nullptr;
    }
    return std::unique_ptr<ScreenCapture>(new ScreenCapture(std::move(connection), screen, std::move(area)));
}

ScreenCapture::ScreenCapture(XConnection connection, const xcb_screen_t& screen, AreaOfNow area)
    : connection_(std::move(connection)), root_(screen.root), areaOfNow_(std::move(area)),
      shares_(sharesMemoryByDescriptor(connection_.get())), sent_(nullptr, std::free) {
    askForChanges();
}

ScreenCapture::~ScreenCapture() = default;

void ScreenCapture::askForChanges() {
    const auto* extension = xcb_get_extension_data(connection_.get(), &xcb_damage_id);
    if (!extension || !extension->present)
        return;
    // The server refuses everything else before it has been told the version.
    const auto version = owned(xcb_damage_query_version_reply(
        connection_.get(), xcb_damage_query_version(connection_.get(), 1, 1), nullptr));
    if (!version)
        return;
    const xcb_damage_damage_t damage = xcb_generate_id(connection_.get());
    const auto request =
        xcb_damage_create_checked(connection_.get(), damage, root_, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    if (owned(xcb_request_check(connection_.get(), request)))
        return;
    damage_ = damage;
    damageEvent_ = static_cast<std::uint8_t>(extension->first_event + XCB_DAMAGE_NOTIFY);
}

bool ScreenCapture::changed() {
    while (const auto event = owned(xcb_poll_for_event(connection_.get())))
        if ((event->response_type & 0x7F) == damageEvent_)
            changed_ = true;
    return changed_ || damage_ == 0;
}

std::optional<ScreenPicture> ScreenCapture::look() {
    changed(); // what was new until now is in this picture
    changed_ = false;
    if (damage_ != 0)
        xcb_damage_subtract(connection_.get(), damage_, XCB_NONE, XCB_NONE);
    for (int i = 0; i < kTries; ++i) {
        const auto [wanted, pointsPerPixel] = areaOfNow_();
        const auto area = visiblePart(wanted);
        if (!area)
            break;
        const std::uint8_t* pixels = shares_ ? sharedPixels(*area) : nullptr;
        if (!pixels)
            pixels = sentPixels(*area);
        if (pixels)
            return ScreenPicture{area->width,
                                 area->height,
                                 static_cast<std::size_t>(area->width) * kPixelBytes,
                                 {pixels, sizeOf(*area)},
                                 pointsPerPixel};
    }
    changed_ = true;
    return std::nullopt;
}

// The part of the area that is on the desktop now; none without any.
std::optional<PixelRect> ScreenCapture::visiblePart(const PixelRect& wanted) {
    const auto desktop =
        owned(xcb_get_geometry_reply(connection_.get(), xcb_get_geometry(connection_.get(), root_), nullptr));
    if (!desktop)
        return std::nullopt;
    const PixelRect whole{0, 0, desktop->width, desktop->height};
    PixelRect area = wanted.width > 0 && wanted.height > 0 ? wanted : whole;
    area.width = std::min(area.x + area.width, whole.width) - std::max(area.x, 0);
    area.height = std::min(area.y + area.height, whole.height) - std::max(area.y, 0);
    area.x = std::max(area.x, 0);
    area.y = std::max(area.y, 0);
    if (area.width <= 0 || area.height <= 0)
        return std::nullopt;
    return area;
}

const std::uint8_t* ScreenCapture::sharedPixels(const PixelRect& area) {
    if (!memory_ || memory_->size() < sizeOf(area)) {
        memory_.reset();
        memory_ = Memory::create(connection_.get(), sizeOf(area));
        shares_ = memory_ != nullptr;
        if (!shares_)
            return nullptr;
    }
    const auto request = xcb_shm_get_image(connection_.get(), root_, narrow<std::int16_t>(area.x),
                                           narrow<std::int16_t>(area.y), narrow<std::uint16_t>(area.width),
                                           narrow<std::uint16_t>(area.height), kAllPlanes,
                                           XCB_IMAGE_FORMAT_Z_PIXMAP, memory_->segment(), 0);
    const auto reply = owned(xcb_shm_get_image_reply(connection_.get(), request, nullptr));
    return reply && reply->size >= sizeOf(area) ? memory_->bytes() : nullptr;
}

const std::uint8_t* ScreenCapture::sentPixels(const PixelRect& area) {
    const auto request =
        xcb_get_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, root_, narrow<std::int16_t>(area.x),
                      narrow<std::int16_t>(area.y), narrow<std::uint16_t>(area.width),
                      narrow<std::uint16_t>(area.height), kAllPlanes);
    xcb_get_image_reply_t* reply = xcb_get_image_reply(connection_.get(), request, nullptr);
    sent_.reset(reply);
    if (!reply || static_cast<std::size_t>(xcb_get_image_data_length(reply)) < sizeOf(area))
        return nullptr;
    return xcb_get_image_data(reply);
}

std::optional<ScreenPoint> ScreenCapture::pointer() {
    const auto reply = owned(
        xcb_query_pointer_reply(connection_.get(), xcb_query_pointer(connection_.get(), root_), nullptr));
    if (!reply)
        return std::nullopt;
    const auto [area, pointsPerPixel] = areaOfNow_();
    return ScreenPoint{(reply->root_x - area.x) * pointsPerPixel, (reply->root_y - area.y) * pointsPerPixel};
}

} // namespace lightpen
