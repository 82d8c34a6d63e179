// SPDX-License-Identifier: MIT
#include "platform/Shared.h"

#include <array>
#include <atomic>
#include <optional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Geometry.h"

namespace lightpen {
namespace {

TEST(SharedTest, AWordReadsAndWritesLikeAPlainOne) {
    SharedWord word{-1};
    EXPECT_EQ(word, -1);
    word = 5;
    SharedWord copy = word;
    word = 6;
    EXPECT_EQ(copy + word, 11);
    copy = word;
    EXPECT_EQ(copy.load(), 6);
    SharedFlag flag;
    EXPECT_FALSE(flag);
    flag.store(true);
    EXPECT_TRUE(flag);
}

TEST(SharedTest, AWordIsSharedByThreads) {
    SharedWord word{0};
    std::thread writer([&] {
        for (int i = 1; i <= 1000; ++i)
            word = i;
    });
    int last = 0;
    while (last != 1000) {
        const int now = word;
        ASSERT_GE(now, last);
        last = now;
    }
    writer.join();
}

TEST(SharedTest, ARecordIsNeverSeenHalf) {
    SharedRecord<CameraPoint> point{CameraPoint{1, -1}};
    std::thread writer([&] {
        for (int i = 2; i <= 2000; ++i)
            point = CameraPoint{double(i), double(-i)};
    });
    CameraPoint seen;
    while (seen.x != 2000) {
        seen = point;
        ASSERT_EQ(seen.x, -seen.y);
    }
    writer.join();
}

TEST(SharedTest, ARecordCopiesItsValue) {
    SharedRecord<CameraPoint> first{CameraPoint{3, 4}}, second;
    second = first;
    const SharedRecord<CameraPoint> third(first);
    first = CameraPoint{5, 6};
    EXPECT_EQ(second.load(), (CameraPoint{3, 4}));
    EXPECT_EQ(third.load(), (CameraPoint{3, 4}));
}

// Several of each, so that readers meet writers and writers each other.
TEST(SharedTest, ALongRecordIsNeverSeenHalfByAnybody) {
    using Long = std::array<int, 37>;
    SharedRecord<Long> record;
    std::atomic<int> writing{2};
    const auto all = [](int value) {
        Long made;
        made.fill(value);
        return made;
    };
    const auto write = [&](int from) {
        for (int i = 0; i < 3000; ++i)
            record = all(from + i);
        --writing;
    };
    const auto read = [&] {
        while (writing > 0) {
            const Long seen = record;
            ASSERT_EQ(seen, all(seen.front()));
        }
    };
    std::vector<std::thread> threads;
    threads.emplace_back(write, 0);
    threads.emplace_back(write, 100'000);
    threads.emplace_back(read);
    threads.emplace_back(read);
    for (std::thread& thread : threads)
        thread.join();
}

TEST(SharedTest, AnEmptyOptionalIsARecordToo) {
    SharedRecord<std::optional<CameraPoint>> point;
    EXPECT_EQ(point.load(), std::nullopt);
    point = CameraPoint{1, 2};
    EXPECT_EQ(point.load(), (CameraPoint{1, 2}));
    point = std::nullopt;
    EXPECT_EQ(point.load(), std::nullopt);
}

TEST(SharedTest, ACopyThatIsKeptIsRenewedWhenItsObjectWasSwapped) {
    const auto first = std::make_shared<int>(1), second = std::make_shared<int>(2);
    SharedReference<int> shared{first};
    std::shared_ptr<int> copy;
    shared.renew(copy);
    EXPECT_EQ(copy, first);
    shared.renew(copy);
    EXPECT_EQ(first.use_count(), 3);
    shared = second;
    EXPECT_EQ(copy, first) << "it lives for as long as the copy is kept";
    shared.renew(copy);
    EXPECT_EQ(copy, second);
    EXPECT_EQ(first.use_count(), 1);
    shared = nullptr;
    EXPECT_TRUE(shared.isNull());
    EXPECT_EQ(shared.load(), nullptr);
    shared.renew(copy);
    EXPECT_EQ(copy, nullptr);
}

TEST(SharedTest, AReaderKeepsItsObjectWhenItIsSwapped) {
    SharedReference<const std::vector<int>> list{std::make_shared<const std::vector<int>>(100, 0)};
    std::thread writer([&] {
        for (int i = 1; i <= 500; ++i)
            list = std::make_shared<const std::vector<int>>(100 + i, i);
    });
    int last = -1;
    while (last != 500) {
        const auto held = list.load();
        ASSERT_EQ(held->size(), 100u + static_cast<std::size_t>(held->front()));
        ASSERT_EQ(held->front(), held->back());
        last = held->back();
    }
    writer.join();
    std::weak_ptr<const std::vector<int>> watched = list.load();
    list = nullptr;
    EXPECT_TRUE(watched.expired());
}

} // namespace
} // namespace lightpen
