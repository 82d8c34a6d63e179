// SPDX-License-Identifier: MIT
#include "platform/Shared.h"

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
