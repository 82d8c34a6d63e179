// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/XLockers.h"

#include <xcb/screensaver.h>

#include <algorithm>
#include <utility>

#include <QGuiApplication>
#include <QRect>
#include <QScreen>

namespace lightpen {

namespace {

// A locker that does not get the keyboard by then gives up.
constexpr int kAboutToLockMilliseconds = 2000;

// In pixels of the X screen: Qt scales the size of a screen, but not its place.
QRect pixelsOf(const QScreen& screen) {
    return {screen.geometry().topLeft(), (QSizeF(screen.size()) * screen.devicePixelRatio()).toSize()};
}

// Some lockers leave the outermost pixels free, so that a compositor does not treat them as full-screen.
constexpr int kEdge = 2;

bool coversAScreen(const QRect& window) {
    const QRect whole = window.adjusted(-kEdge, -kEdge, kEdge, kEdge);
    const QList<QScreen*> screens = QGuiApplication::screens();
    return std::any_of(screens.begin(), screens.end(),
                       [&](const QScreen* screen) { return whole.contains(pixelsOf(*screen)); });
}

template <class Event>
const Event& as(const xcb_generic_event_t& event) {
    return reinterpret_cast<const Event&>(event);
}

} // namespace

std::unique_ptr<XLockers> XLockers::connect(std::function<void()> changed) {
    XConnection connection = connectToX(nullptr);
    return connection ? std::unique_ptr<XLockers>(new XLockers(std::move(connection), std::move(changed)))
                      : nullptr;
}

XLockers::XLockers(XConnection connection, std::function<void()> changed)
    : connection_(std::move(connection)), changed_(std::move(changed)), root_(rootOf(connection_.get())),
      supportingWindowAtom_(atomOf(connection_.get(), "_NET_SUPPORTING_WM_CHECK")) {
    aboutToLock_.setSingleShot(true);
    aboutToLock_.setInterval(kAboutToLockMilliseconds);
    QObject::connect(&aboutToLock_, &QTimer::timeout, &aboutToLock_, [this] { changed_(); });
    selectEvents();
    lookForOthers();
    notifier_ =
        std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_.get()), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
        const bool before = covers();
        takeEvents();
        if (xcb_connection_has_error(connection_.get()) != 0)
            notifier_->setEnabled(false);
        if (covers() != before)
            changed_();
    });
}

void XLockers::selectEvents() {
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_.get(), root_, XCB_CW_EVENT_MASK, &events);
    const auto geometry =
        owned(xcb_get_geometry_reply(connection_.get(), xcb_get_geometry(connection_.get(), root_), nullptr));
    rootDepth_ = geometry ? geometry->depth : std::uint8_t{0};
    const auto* extension = xcb_get_extension_data(connection_.get(), &xcb_screensaver_id);
    if (!extension || !extension->present)
        return;
    saverEvent_ = extension->first_event + XCB_SCREENSAVER_NOTIFY;
    xcb_screensaver_select_input(connection_.get(), root_, XCB_SCREENSAVER_EVENT_NOTIFY_MASK);
    const auto saver = owned(xcb_screensaver_query_info_reply(
        connection_.get(), xcb_screensaver_query_info(connection_.get(), root_), nullptr));
    saverIsOn_ = saver && saver->state == XCB_SCREENSAVER_STATE_ON;
}

// Events that came before an answer of the server's wake nobody, so they are taken with it.
bool XLockers::cover() {
    static_cast<void>(
        owned(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr)));
    takeEvents();
    return covers();
}

bool XLockers::covers() const {
    return xcb_connection_has_error(connection_.get()) == 0 &&
           (saverIsOn_ || locker_ != XCB_WINDOW_NONE || aboutToLock_.isActive());
}

void XLockers::takeEvents() {
    while (const auto event = owned(xcb_poll_for_event(connection_.get())))
        take(*event);
}

void XLockers::take(const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7F;
    if (type == XCB_CREATE_NOTIFY) {
        const auto& made = as<xcb_create_notify_event_t>(event);
        if (made.override_redirect && coversAScreen({made.x, made.y, made.width, made.height}))
            consider(made.window, Stage::made);
    } else if (type == XCB_MAP_NOTIFY) {
        const auto& shown = as<xcb_map_notify_event_t>(event);
        if (shown.override_redirect)
            consider(shown.window, Stage::shown);
    } else if (type == XCB_CONFIGURE_NOTIFY) {
        const auto& changed = as<xcb_configure_notify_event_t>(event);
        if (changed.override_redirect && coversAScreen({changed.x, changed.y, changed.width, changed.height}))
            consider(changed.window, Stage::shown);
    } else if (type == XCB_UNMAP_NOTIFY || type == XCB_DESTROY_NOTIFY) {
        if (as<xcb_unmap_notify_event_t>(event).window == locker_) // in both at the same place
            lookForOthers();
    } else if (type == saverEvent_) {
        const auto& saver = as<xcb_screensaver_notify_event_t>(event);
        saverIsOn_ = saver.state == XCB_SCREENSAVER_STATE_ON || saver.state == XCB_SCREENSAVER_STATE_CYCLE;
    }
}

void XLockers::consider(xcb_window_t window, Stage stage) {
    if (window == locker_ || !couldLock(window, stage))
        return;
    if (stage == Stage::made) {
        aboutToLock_.start();
        return;
    }
    locker_ = window;
    aboutToLock_.stop();
}

void XLockers::lookForOthers() {
    locker_ = XCB_WINDOW_NONE;
    const auto tree =
        owned(xcb_query_tree_reply(connection_.get(), xcb_query_tree(connection_.get(), root_), nullptr));
    if (!tree)
        return;
    const auto* const windows = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()) && locker_ == XCB_WINDOW_NONE; ++i)
        consider(windows[i], Stage::shown);
}

// A window of another depth may let the desktop shine through, as those do that draw over it.
bool XLockers::couldLock(xcb_window_t window, Stage stage) const {
    const auto attributesRequest = xcb_get_window_attributes(connection_.get(), window);
    const auto geometryRequest = xcb_get_geometry(connection_.get(), window);
    const auto attributes =
        owned(xcb_get_window_attributes_reply(connection_.get(), attributesRequest, nullptr));
    const auto geometry = owned(xcb_get_geometry_reply(connection_.get(), geometryRequest, nullptr));
    if (!attributes || !geometry || !attributes->override_redirect ||
        attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT || geometry->depth != rootDepth_)
        return false;
    if (stage == Stage::shown && attributes->map_state != XCB_MAP_STATE_VIEWABLE)
        return false;
    return coversAScreen({geometry->x, geometry->y, geometry->width, geometry->height}) && !isKnown(window);
}

// The server's own windows, this program's, and the window manager's, whose frames may be as large.
bool XLockers::isKnown(xcb_window_t window) const {
    const auto client = clientOf(window);
    if (client == 0)
        return true;
    if (const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>())
        if (client == clientOf(xcb_get_setup(x11->connection())->resource_id_base))
            return true;
    const auto manager = windowIn(connection_.get(), root_, supportingWindowAtom_);
    return manager != XCB_WINDOW_NONE && client == clientOf(manager);
}

xcb_window_t XLockers::clientOf(xcb_window_t window) const {
    return window & ~xcb_get_setup(connection_.get())->resource_id_mask;
}

} // namespace lightpen
