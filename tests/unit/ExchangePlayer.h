// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <optional>
#include <utility>

#include "kit/UnitProtocolDocument.h"
#include "unit/FirmwareBench.h"

namespace lightpen::test {

// Plays an exchange of the unit's protocol with a unit in software, byte by byte, and fails where the unit
// does something else. Between the lines no time passes by itself.
class ExchangePlayer {
public:
    void play(const Exchange& exchange) {
        bench_.emplace();
        for (const ExchangeLine& line : exchange) {
            const testing::ScopedTrace where(__FILE__, __LINE__, line.text);
            perform(line);
        }
        EXPECT_TRUE(unread_.empty()) << "reports that the exchange does not tell";
    }

private:
    // Far above what any answer takes.
    static constexpr int kPatience = 100;
    static constexpr std::size_t kFirstCommandLength = 32;

    void perform(const ExchangeLine& line) {
        const std::chrono::milliseconds time(line.first);
        const CameraPoint place{double(line.first), double(line.second)};
        switch (line.kind) {
        case ExchangeLine::Kind::send:
            EXPECT_TRUE(unread_.empty()) << "reports that the exchange does not tell";
            bench_->firmware.handleOutput(filled(line.bytes), bench_->now);
            break;
        case ExchangeLine::Kind::receive:
            receive(line);
            break;
        case ExchangeLine::Kind::wait:
            unread_.clear();
            bench_->run(time);
            break;
        case ExchangeLine::Kind::silence:
            EXPECT_TRUE(unread_.empty() && bench_->run(time).empty()) << "the unit is not silent";
            break;
        case ExchangeLine::Kind::unit:
            bench_.emplace(static_cast<std::size_t>(line.first));
            commandLength_ = static_cast<std::size_t>(line.first) & 0xFFU;
            break;
        case ExchangeLine::Kind::pen:
            bench_->scene.pen = place;
            break;
        case ExchangeLine::Kind::penUp:
            bench_->scene.pen.reset();
            break;
        case ExchangeLine::Kind::light:
            bench_->scene.strayLight = place;
            break;
        case ExchangeLine::Kind::powerOff:
            bench_->firmware.powerUp(bench_->now);
            break;
        case ExchangeLine::Kind::unknown:
            ADD_FAILURE() << "the document does not explain this line";
        }
    }

    ReportBytes filled(ReportBytes bytes) const {
        bytes.resize(std::max(commandLength_, bytes.size()));
        return bytes;
    }

    void receive(const ExchangeLine& line) {
        for (int step = 0; unread_.empty() && step < kPatience; ++step)
            for (UnitReport& report : bench_->run(std::chrono::milliseconds(1)))
                unread_.push_back(std::move(report));
        ASSERT_FALSE(unread_.empty()) << "the unit sends nothing";
        ReportBytes expected = line.bytes;
        ReportBytes sent = unread_.front().bytes;
        unread_.pop_front();
        if (line.more)
            sent.resize(expected.size());
        else
            expected.resize(std::max(expected.size(), sent.size()));
        EXPECT_EQ(sent, expected);
    }

    std::optional<FirmwareBench> bench_;
    std::deque<UnitReport> unread_;
    std::size_t commandLength_ = kFirstCommandLength;
};

} // namespace lightpen::test
