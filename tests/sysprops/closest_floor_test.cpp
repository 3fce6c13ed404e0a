#include "zorcomn/sysprops.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

using velmora_com::vta::sysprops::get_closest_floor;

using Bytes = unsigned long long;
constexpr Bytes kMaxBytes = std::numeric_limits<Bytes>::max();

TEST(ClosestFloor, Amounts_GoDownToATwentieth_Kept) {
    constexpr struct {
        double value, expected;
    } kRows[] = {
        {57.0, 55.0}, {55.0, 50.0}, {55.000001, 55.0}, {5.0, 5.0},     {5.000001, 5.0},
        {3.0, 3.0},   {0.0, 0.0},   {-1.0, -1.0},      {10.0, 5.0},    {95.0, 90.0},
        {95.5, 95.0}, {99.0, 95.0}, {100.0, 95.0},     {100.5, 100.0}, {1e9, 100.0},
    };
    for (const auto &row : kRows)
        EXPECT_EQ(get_closest_floor<double>(row.value, 100.0, 0.0, 20), row.expected) << row.value;
}

TEST(ClosestFloor, WholeNumbers_DivideTheStepWithoutRest) {
    EXPECT_EQ(get_closest_floor<Bytes>(999, 1000, 0, 20), 950u);
    EXPECT_EQ(get_closest_floor<Bytes>(1000, 1000, 0, 20), 950u);
    EXPECT_EQ(get_closest_floor<Bytes>(950, 1000, 0, 20), 900u);
    EXPECT_EQ(get_closest_floor<Bytes>(951, 1000, 0, 20), 950u);
    EXPECT_EQ(get_closest_floor<Bytes>(50, 1000, 0, 20), 50u);
    EXPECT_EQ(get_closest_floor<Bytes>(49, 1000, 0, 20), 49u);
    EXPECT_EQ(get_closest_floor<Bytes>(100, 119, 0, 20), 95u) << "step 5";
    EXPECT_EQ(get_closest_floor<Bytes>(118, 119, 0, 20), 100u) << "twenty steps of 5, no more";
    EXPECT_EQ(get_closest_floor<Bytes>(15, 19, 0, 20), 15u) << "step 0";
}

TEST(ClosestFloor, NoSteps_GiveTheSmallerOfValueAndLower) {
    EXPECT_EQ(get_closest_floor<Bytes>(7, 100, 0, 0), 0u);
    EXPECT_EQ(get_closest_floor<Bytes>(7, 100, 9, 0), 7u);
    EXPECT_EQ(get_closest_floor<double>(7.5, 100.0, 2.5, 0), 2.5);
}

TEST(ClosestFloor, LowerBound_IsTheStart) {
    EXPECT_EQ(get_closest_floor<Bytes>(57, 100, 20, 4), 40u);
    EXPECT_EQ(get_closest_floor<Bytes>(25, 100, 20, 4), 20u) << "not above the first step";
    EXPECT_EQ(get_closest_floor<Bytes>(10, 100, 20, 4), 20u) << "below lower";
    EXPECT_EQ(get_closest_floor<Bytes>(100, 100, 20, 1), 20u);
    EXPECT_EQ(get_closest_floor<Bytes>(101, 100, 20, 1), 100u);
}

TEST(ClosestFloor, BestOfZero_GivesTheValueBack) {
    EXPECT_EQ(get_closest_floor<double>(-7.0, 10.0, -10.0, 2), -10.0);
    EXPECT_EQ(get_closest_floor<double>(3.0, 10.0, -10.0, 2), 3.0) << "the step at 0 counts as none";
}

TEST(ClosestFloor, UnknownTotal_LeavesTheValue) {
    EXPECT_EQ(get_closest_floor<Bytes>(123456789, 0, 0, 20), 123456789u);
    EXPECT_EQ(get_closest_floor<double>(1.5, 0.0, 0.0, 20), 1.5);
}

TEST(ClosestFloor, LargestNumbers_DoNotOverflow) {
    constexpr Bytes step = kMaxBytes / 20;
    EXPECT_EQ(get_closest_floor<Bytes>(kMaxBytes, kMaxBytes, 0, 20), step * 20);
    EXPECT_EQ(get_closest_floor<Bytes>(step * 20, kMaxBytes, 0, 20), step * 19);
}

TEST(ClosestFloor, RealSteps_AreAddedUp_Kept) {
    // A twentieth is no binary fraction: the sum of seven differs from the product.
    double sum = 0.0;
    for (int i = 0; i < 7; ++i)
        sum += 1.0 / 20;
    ASSERT_NE(sum, 7 * (1.0 / 20));
    EXPECT_EQ(get_closest_floor<double>(0.375, 1.0, 0.0, 20), sum);
}

TEST(ClosestFloor, NotANumber_IsAboveNoStep) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_NE(get_closest_floor<double>(nan, 100.0, 0.0, 20), get_closest_floor<double>(nan, 100.0, 0.0, 20));
    EXPECT_EQ(get_closest_floor<double>(nan, 100.0, 5.0, 20), 5.0);
}

} // namespace
