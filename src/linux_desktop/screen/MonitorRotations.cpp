// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/MonitorRotations.h"

#include <xcb/randr.h>

#include <cstddef>
#include <utility>

#include <QGuiApplication>

#include "linux_desktop/screen/XConnection.h"

namespace lightpen {

namespace {

// Qt's own, since it asks the server there to tell of changes; null elsewhere than under X11.
xcb_connection_t* connectionOfQt() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

std::string nameOf(xcb_connection_t* x, xcb_atom_t atom) {
    const auto name = owned(xcb_get_atom_name_reply(x, xcb_get_atom_name(x, atom), nullptr));
    return name ? std::string(xcb_get_atom_name_name(name.get()),
                              static_cast<std::size_t>(xcb_get_atom_name_name_length(name.get())))
                : std::string();
}

int turnsOfOutput(xcb_connection_t* x, xcb_randr_output_t output) {
    const auto shown = owned(
        xcb_randr_get_output_info_reply(x, xcb_randr_get_output_info(x, output, XCB_CURRENT_TIME), nullptr));
    if (!shown)
        return 0;
    const auto how = owned(
        xcb_randr_get_crtc_info_reply(x, xcb_randr_get_crtc_info(x, shown->crtc, XCB_CURRENT_TIME), nullptr));
    const unsigned rotation = how ? how->rotation : unsigned{XCB_RANDR_ROTATION_ROTATE_0};
    if (rotation & XCB_RANDR_ROTATION_ROTATE_90)
        return 1;
    if (rotation & XCB_RANDR_ROTATION_ROTATE_180)
        return 2;
    return rotation & XCB_RANDR_ROTATION_ROTATE_270 ? 3 : 0;
}

} // namespace

MonitorRotations::MonitorRotations(std::function<void()> changed) {
    soon_.setSingleShot(true);
    QObject::connect(&soon_, &QTimer::timeout, &soon_, std::move(changed));
    xcb_connection_t* const x = connectionOfQt();
    const auto* extension = x ? xcb_get_extension_data(x, &xcb_randr_id) : nullptr;
    if (!extension || !extension->present)
        return;
    firstEvent_ = extension->first_event;
    qGuiApp->installNativeEventFilter(this);
}

MonitorRotations::~MonitorRotations() = default; // Qt forgets the filter with it

void MonitorRotations::look() {
    quarterTurns_.clear();
    xcb_connection_t* const x = connectionOfQt();
    if (!x || firstEvent_ < 0)
        return;
    const auto monitors =
        owned(xcb_randr_get_monitors_reply(x, xcb_randr_get_monitors(x, rootOf(x), 1), nullptr));
    if (!monitors)
        return;
    // One that several outputs make up is turned as a whole.
    for (auto each = xcb_randr_get_monitors_monitors_iterator(monitors.get()); each.rem > 0;
         xcb_randr_monitor_info_next(&each))
        if (each.data->nOutput > 0)
            quarterTurns_[nameOf(x, each.data->name)] =
                turnsOfOutput(x, xcb_randr_monitor_info_outputs(each.data)[0]);
}

int MonitorRotations::quarterTurnsOf(const std::string& monitor) const {
    const auto known = quarterTurns_.find(monitor);
    return known == quarterTurns_.end() ? 0 : known->second;
}

// Qt gets the event after this, so its screens are only later as the server has them.
bool MonitorRotations::nativeEventFilter(const QByteArray& type, void* event, qintptr*) {
    if (type != "xcb_generic_event_t")
        return false;
    const int kind = static_cast<const xcb_generic_event_t*>(event)->response_type & 0x7F;
    if (kind == firstEvent_ + XCB_RANDR_NOTIFY || kind == firstEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY)
        soon_.start(0);
    return false;
}

} // namespace lightpen
