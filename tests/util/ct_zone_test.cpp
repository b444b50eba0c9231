#include "util/ct_zone.h"

#include "support/string_print.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <new>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

template <class Zone>
class ZoneTest : public testing::Test {};

using ZoneTypes = testing::Types<CTZone<unsigned char, false>, CTZone<unsigned char, true>,
                                 CTZone<uint32_t, false>, CTZone<uint32_t, true>>;
TYPED_TEST_SUITE(ZoneTest, ZoneTypes);

// A change of a zone and the same one of the vector that it should equal.
#define STEP(change, changeModel) [&] { (change), (changeModel); }

TYPED_TEST(ZoneTest, DoesWhatAVectorDoes) {
    using Element = std::decay_t<decltype(*TypeParam().begin())>;
    TypeParam zone;
    std::vector<Element> model, part;
    size_t at = 0, count = 0, place = 0;
    Element value = 0;
    const auto begin = [&] { return model.begin(); };
    const auto isOther = [&](Element element) { return element != value; };
    const std::function<void()> steps[] = {
        STEP(zone.Append(value), model.push_back(value)),
        STEP(zone.Append(zone.GetData() + at, count),
             model.insert(model.end(), part.begin(), part.end())),
        STEP(zone.Insert(place, zone.GetData() + at, count),
             model.insert(begin() + place, part.begin(), part.end())),
        STEP(zone.Insert(at, size_t{5}, value), model.insert(begin() + at, 5, value)),
        STEP(zone.Erase(at, count), model.erase(begin() + at, begin() + at + count)),
        STEP(zone.TrimLeadingZeros(),
             model.erase(begin(),
                         std::find_if_not(begin(), model.end(), std::logical_not<Element>()))),
        STEP(zone.TrimTrailing(value),
             model.erase(std::find_if(model.rbegin(), model.rend(), isOther).base(), model.end())),
        STEP(zone.Reverse(), std::reverse(begin(), model.end())),
        STEP(zone.DropLast(place), model.resize(model.size() - place)),
        STEP(zone.Assign(zone), zone.Insert(0, nullptr, 4)),
        STEP(zone = TypeParam(nullptr, 3), model.assign(3, 0)),
        STEP(zone.FillUpTo(at + 9, value), model.resize(std::max(model.size(), at + 9), value)),
        STEP(zone.AppendUInt16BE(0x1203), model.insert(model.end(), {0x12, 0x03})),
        STEP(zone.AppendUInt16LE(0x1203), model.insert(model.end(), {0x03, 0x12})),
        STEP(zone = TypeParam(std::move(zone)), zone.Append(nullptr, 5)),
        STEP(zone.Insert(model.size() + 1, 1), zone.Insert(SIZE_MAX, &value, 1)),
        STEP(zone.Erase(at, SIZE_MAX), model.resize(at)),
        STEP(zone.Erase(model.size(), 1), zone.FillUpTo(at, value)),
        STEP(zone.Assign(zone.GetData() + at, count), model = part),
    };
    std::mt19937 random(20);
    for (int round = 0; round < 20000; ++round) {
        at = random() % (model.size() + 1);
        count = random() % (model.size() + 1 - at);
        place = random() % (model.size() + 1);
        value = static_cast<Element>(random() % 4);
        part.assign(model.begin() + at, model.begin() + at + count);
        const size_t step = random() % std::size(steps);
        SCOPED_TRACE(step);
        steps[step]();
        ASSERT_EQ(std::vector<Element>(zone.begin(), zone.end()), model);
        ASSERT_GE(zone.GetCapacity(), zone.GetSize());
    }
}

TYPED_TEST(ZoneTest, GrowsByHalfOfTheOldCapacityMoreThanRequired) {
    TypeParam zone;
    for (const size_t capacity : {1, 3, 3, 6, 6, 6, 10, 10, 10}) {
        zone.Append(1);
        EXPECT_EQ(zone.GetCapacity(), capacity);
    }
    EXPECT_EQ(TypeParam(zone).GetCapacity(), 9u);
    // Out of the compiler's sight, which would warn of them.
    const volatile size_t all = SIZE_MAX, half = SIZE_MAX / 2 + 9;
    EXPECT_THROW(zone.Append(zone.GetData(), all), std::bad_alloc);
    EXPECT_THROW(zone.Insert(1, all, 3), std::bad_alloc);
    EXPECT_THROW(zone.Fill(half, 3), std::bad_alloc);
    EXPECT_THROW(zone.Resize(all), std::bad_alloc);
    EXPECT_THROW(zone.Reserve(all), std::bad_alloc);
    EXPECT_THROW(TypeParam(nullptr, half), std::bad_alloc);
    EXPECT_EQ(zone, TypeParam(9, 1));
}
