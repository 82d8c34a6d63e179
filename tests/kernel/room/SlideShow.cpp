// SPDX-License-Identifier: MIT
#include "kernel/room/SlideShow.h"

#include <array>
#include <random>
#include <vector>

#include "measure/desktop/XClient.h"

namespace lightpen {

namespace {

struct Slide {
    std::uint32_t ground;
    std::uint32_t text;
};
constexpr std::array kSlides{Slide{0xFFFFFF, 0x202020}, Slide{0x101040, 0xFFFFFF}, Slide{0xFFE080, 0x404000},
                             Slide{0x000000, 0xFFFF00}};
constexpr int kLines = 12;

} // namespace

class SlideShow::Painter final : public XClient {
public:
    Painter(const std::string& display, Size screen)
        : XClient(display), width_(static_cast<std::uint16_t>(screen.width)),
          height_(static_cast<std::uint16_t>(screen.height)), context_(xcb_generate_id(connection())) {
        const std::uint32_t overWindows = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
        xcb_create_gc(connection(), context_, root(), XCB_GC_SUBWINDOW_MODE, &overWindows);
    }

    // Lines of words, as long as they happen to be.
    void show(unsigned number) {
        const Slide& slide = kSlides[number % kSlides.size()];
        fill({{0, 0, width_, height_}}, slide.ground);
        std::vector<xcb_rectangle_t> words;
        for (int line = 0; line < kLines; ++line) {
            const int top = (2 * line + 1) * height_ / (2 * kLines + 1);
            for (int left = width_ / 20; left < width_ * 19 / 20;) {
                const int length = std::uniform_int_distribution(12, 140)(random_);
                words.push_back({static_cast<std::int16_t>(left), static_cast<std::int16_t>(top),
                                 static_cast<std::uint16_t>(length),
                                 static_cast<std::uint16_t>(height_ / (3 * kLines))});
                left += length + 14;
            }
        }
        fill(words, slide.text);
        sync();
    }

private:
    std::uint32_t root() { return screen().root; }
    void fill(const std::vector<xcb_rectangle_t>& places, std::uint32_t colour) {
        xcb_change_gc(connection(), context_, XCB_GC_FOREGROUND, &colour);
        xcb_poly_fill_rectangle(connection(), root(), context_, static_cast<std::uint32_t>(places.size()),
                                places.data());
    }

    const std::uint16_t width_;
    const std::uint16_t height_;
    const xcb_gcontext_t context_;
    std::minstd_rand random_;
};

SlideShow::SlideShow(const std::string& display, Size screen, std::chrono::milliseconds period)
    : painter_(std::make_unique<Painter>(display, screen)), period_(period),
      thread_([this](const std::stop_token& stop) { run(stop); }) {}

SlideShow::~SlideShow() {
    thread_.request_stop();
    thread_.join();
}

void SlideShow::run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        painter_->show(slides_++);
        std::this_thread::sleep_for(period_);
    }
}

} // namespace lightpen
