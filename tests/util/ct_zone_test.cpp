#include "util/ct_zone.h"

#include "support/string_print.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <new>
#include <random>
#include <vector>

namespace {

template <class Zone>
class ZoneTest : public testing::Test {};

using ZoneTypes = testing::Types<CTZone<unsigned char, false>, CTZone<unsigned char, true>,
                                 CTZone<uint32_t, false>, CTZone<uint32_t, true>>;
TYPED_TEST_SUITE(ZoneTest, ZoneTypes);

template <class Element, bool Secure>
std::vector<Element> ToVector(const CTZone<Element, Secure>& zone) {
    return {zone.begin(), zone.end()};
}

template <class Element, bool Secure>
Element ElementOf(const CTZone<Element, Secure>&);

}  // namespace

TYPED_TEST(ZoneTest, DoesWhatAVectorDoes) {
    using Element = decltype(ElementOf(TypeParam()));
    std::mt19937 random(20);
    TypeParam zone;
    std::vector<Element> model;
    const auto below = [&random](size_t limit) { return limit == 0 ? 0 : random() % limit; };
    for (int round = 0; round < 20000; ++round) {
        const size_t at = below(model.size() + 1);
        const size_t count = below(model.size() + 1 - at);
        const auto value = static_cast<Element>(below(4));
        const unsigned operation = random() % 14;
        SCOPED_TRACE(operation);
        const std::vector<Element> part(model.begin() + at, model.begin() + at + count);
        switch (operation) {
            case 0:
                zone.Append(value);
                model.push_back(value);
                break;
            case 1:
                zone.Append(zone.GetData() + at, count);
                model.insert(model.end(), part.begin(), part.end());
                break;
            case 2: {
                const size_t position = below(model.size() + 1);
                zone.Insert(position, zone.GetData() + at, count);
                model.insert(model.begin() + position, part.begin(), part.end());
                break;
            }
            case 3:
                zone.Insert(at, size_t{5}, value);
                model.insert(model.begin() + at, 5, value);
                break;
            case 4:
                zone.Erase(at, count);
                model.erase(model.begin() + at, model.begin() + at + count);
                break;
            case 5:
                zone.TrimLeadingZeros();
                while (!model.empty() && model.front() == 0) {
                    model.erase(model.begin());
                }
                break;
            case 6:
                zone.TrimTrailing(value);
                while (!model.empty() && model.back() == value) {
                    model.pop_back();
                }
                break;
            case 7:
                zone.Reverse();
                std::reverse(model.begin(), model.end());
                break;
            case 8:
                zone.DropLast(count);
                model.resize(model.size() - count);
                break;
            case 9:
                zone.FillUpTo(at + 9, value);
                model.resize(std::max(model.size(), at + 9), value);
                break;
            case 10:
                zone.AppendUInt16BE(0x1203);
                zone.AppendUInt16LE(0x1203);
                model.insert(model.end(), {0x12, 0x03, 0x03, 0x12});
                break;
            case 11: {
                TypeParam moved(std::move(zone));
                EXPECT_EQ(zone.GetData(), nullptr);
                zone = moved;
                EXPECT_EQ(zone, moved);
                break;
            }
            case 12:
                if (model.size() > 300) {
                    zone.Assign(zone.GetData() + at, count);
                    model = part;
                }
                break;
            default:
                zone.Fill(at, value);
                model.assign(at, value);
        }
        ASSERT_EQ(ToVector(zone), model);
        ASSERT_GE(zone.GetCapacity(), zone.GetSize());
    }
}

TYPED_TEST(ZoneTest, GrowsByHalfOfTheOldCapacityMoreThanRequired) {
    TypeParam zone;
    zone.Resize(100);
    EXPECT_EQ(zone.GetCapacity(), 100u);
    zone.Append(1);
    EXPECT_EQ(zone.GetCapacity(), 151u);
    zone.Resize(3);
    EXPECT_EQ(zone.GetCapacity(), 151u);
    const TypeParam copy(zone);
    EXPECT_EQ(copy.GetCapacity(), 3u);
    zone.Clear();
    EXPECT_EQ(zone.GetData(), nullptr);
    EXPECT_EQ(zone.GetCapacity(), 0u);
    std::vector<size_t> capacities;
    for (int i = 0; i < 9; ++i) {
        zone.Append(1);
        capacities.push_back(zone.GetCapacity());
    }
    EXPECT_EQ(capacities, (std::vector<size_t>{1, 3, 3, 6, 6, 6, 10, 10, 10}));
    zone.Reserve(11);
    EXPECT_EQ(zone.GetCapacity(), 16u);
    EXPECT_EQ(zone.GetSize(), 9u);
}

TYPED_TEST(ZoneTest, TakesNullPointersAndPositionsOutOfRange) {
    using Element = decltype(ElementOf(TypeParam()));
    const TypeParam zeros(nullptr, 3);
    EXPECT_EQ(ToVector(zeros), std::vector<Element>(3, 0));
    TypeParam zone(2, Element{7});
    zone.Append(nullptr, 5);
    zone.Insert(3, Element{1});
    zone.Insert(SIZE_MAX, &zone[0], 1);
    zone.Insert(0, nullptr, 4);
    zone.Erase(2, 1);
    zone.FillUpTo(1, 9);
    EXPECT_EQ(ToVector(zone), std::vector<Element>(2, 7));
    zone.Erase(1, SIZE_MAX);
    EXPECT_EQ(zone.GetSize(), 1u);
    zone.DropLast(SIZE_MAX);
    EXPECT_EQ(zone.GetSize(), 0u);
    const TypeParam copyOfEmpty(zone);
    EXPECT_EQ(copyOfEmpty.GetData(), nullptr);
    zone.Assign(zone);
    zone.Assign(nullptr, 9);
    EXPECT_EQ(zone.GetData(), nullptr);
    zone = zeros;
    zone = copyOfEmpty;
    EXPECT_EQ(zone.GetCapacity(), 0u);
}

TYPED_TEST(ZoneTest, SizesThatDoNotFitAreOutOfMemory) {
    TypeParam zone(2, 7);
    // Out of the compiler's sight, which would warn of them.
    const volatile size_t all = SIZE_MAX;
    const volatile size_t half = SIZE_MAX / 2 + 9;
    const std::function<void()> calls[] = {
        [&] { zone.Resize(all); },
        [&] { zone.Reserve(all); },
        [&] { zone.Append(zone.GetData(), all); },
        [&] { zone.Insert(1, all, 3); },
        [&] { zone.Fill(half, 3); },
        [&] { TypeParam(nullptr, half); },
    };
    for (const auto& call : calls) {
        EXPECT_THROW(call(), std::bad_alloc);
        EXPECT_EQ(zone, TypeParam(2, 7));
    }
}
