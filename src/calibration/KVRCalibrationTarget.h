// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <QPushButton>

#include "platform/Color.h"
#include "platform/Geometry.h"
#include "platform/Shared.h"

class QPainter;

namespace lightpen {

// A view's frame, which other threads may look at while the main thread moves the view.
using SharedFrame = SharedRecord<WindowRect>;

// The target of a calibration. Its frame is exact, although a widget covers whole points only: the widget
// covers all points that the frame touches, and the drawing is shifted within it. Main thread.
class KVRCalibrationTarget final : public QPushButton {
public:
    // A button without title, colour, image and superview.
    KVRCalibrationTarget(const WindowRect& frame, std::uint32_t bezelStyle);

    // In the superview's coordinates, y upwards.
    WindowRect frame() const { return *frame_; }
    // Moves and sizes at once. A frame that is not finite is kept, but the widget stays where it was.
    void setFrame(const WindowRect& frame);
    void setFrameOrigin(WindowPoint origin) { setFrame({origin, frame().size}); } // its size stays
    void setFrameSize(Size size) { setFrame({frame().origin, size}); }            // its origin stays
    // Follows the frame, and may outlive the target. Any thread may read it.
    std::shared_ptr<const SharedFrame> sharedFrame() const { return frame_; }

    // Makes the target part of the view and shows it.
    void addToSuperview(QWidget& superview);
    // Makes it a widget of its own again, hidden.
    void removeFromSuperview();
    // Places the widget anew; needed after the superview has changed its height.
    void placeInSuperview();

    // Fills the rectangle with bezel style 0; without a colour the ground shows.
    void setBackgroundColor(std::optional<Color> color);
    std::optional<Color> backgroundColor() const { return backgroundColor_; }
    // 0 for the square with a cross-hair, anything else for the ordinary button.
    void setBezelStyle(std::uint32_t bezelStyle);
    std::uint32_t bezelStyle() const { return bezelStyle_; }
    // The picture of the ordinary drawing, at its own size.
    void setImage(const QPixmap& image);
    // Whether the ordinary button has a border around its image.
    void setBordered(bool bordered) { setFlat(!bordered); }
    bool isBordered() const { return !isFlat(); }

    // With bezel style 0 a green square with a cross-hair, else the ordinary button. At even sizes the bars
    // of the cross-hair end between two points, and cover half a pixel there on a screen of ordinary
    // resolution.
    void drawRect(QPainter& painter, const QRectF& rect);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const std::shared_ptr<SharedFrame> frame_;
    std::uint32_t bezelStyle_;
    std::optional<Color> backgroundColor_;
    QPointF drawingOrigin_; // of the frame within the widget, below one point
};

} // namespace lightpen
