// SPDX-License-Identifier: MIT
#include "app/home/CopyButton.h"

#include <algorithm>
#include <utility>

#include <QClipboard>
#include <QGuiApplication>

#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr const char* kOfferAgain = "offerToCopy";

} // namespace

CopyButton::CopyButton(std::function<QString()> text) : text_(std::move(text)) {
    connect(this, &QPushButton::clicked, this, &CopyButton::copy);
}

CopyButton::~CopyButton() {
    Platform::current().runLoop.cancelPreviousPerformRequests(this, kOfferAgain, {});
}

// It keeps its size: what stands beside it does not move when it is clicked.
void CopyButton::setWords(const QString& offer, const QString& done) {
    const bool isDone = !text().isEmpty() && text() == done_;
    offer_ = offer;
    done_ = done;
    setText(done_);
    const int width = sizeHint().width();
    setText(offer_);
    setMinimumWidth(std::max(width, sizeHint().width()));
    if (isDone)
        setText(done_);
}

void CopyButton::copy() {
    RunLoop& loop = Platform::current().runLoop;
    QGuiApplication::clipboard()->setText(text_());
    setText(done_);
    loop.cancelPreviousPerformRequests(this, kOfferAgain, {});
    loop.performAfterDelay({this, kOfferAgain, {}, [this] { setText(offer_); }}, kTime);
}

} // namespace lightpen
