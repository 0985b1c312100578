#include <sys/types.h>

#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "platform/transport/frame_budget.h"

namespace {

using OHOS::Host::Transport::FrameBudget;

constexpr uid_t ATTACKER = 20010042;
constexpr uid_t APP = 20010001;
constexpr size_t LIMIT = 100;

struct Charge {
    uint64_t holder;
    uid_t uid;
    size_t bytes;
};

TEST(FrameBudgetTest, TheUidHoldingTheMostGivesWayWithItsLargestHolder)
{
    struct Row {
        const char* name;
        std::vector<Charge> charges;
        size_t held;
        size_t heldByApp;
        std::optional<uint64_t> victim;
    };
    const Row rows[] = {
        {"within the limit", {{1, APP, 60}, {2, ATTACKER, 40}}, 100, 60, 1},
        // The largest single holder is the app's, but the attacker holds more in all.
        {"many smaller holders outweigh one large", {{1, APP, 50}, {2, ATTACKER, 30}, {3, ATTACKER, 35}}, 115, 50, 3},
        {"a new count replaces the old", {{1, APP, 80}, {2, ATTACKER, 50}, {1, APP, 10}}, 60, 10, 2},
        {"a holder keeps the uid it began with", {{1, APP, 10}, {1, ATTACKER, 70}, {2, ATTACKER, 60}}, 130, 70, 1},
        {"nothing held once every holder let go", {{1, APP, 50}, {2, ATTACKER, 70}, {1, APP, 0}, {2, APP, 0}}, 0, 0,
            std::nullopt},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        FrameBudget budget(LIMIT);
        for (const Charge& charge : row.charges) {
            budget.Set(charge.holder, charge.uid, charge.bytes);
        }
        EXPECT_EQ(budget.Held(), row.held);
        EXPECT_EQ(budget.HeldBy(APP), row.heldByApp);
        EXPECT_EQ(budget.HeldBy(APP) + budget.HeldBy(ATTACKER), row.held);
        EXPECT_EQ(budget.Over(), row.held > LIMIT);
        EXPECT_EQ(budget.Victim(), row.victim);
    }

    // As the server uses it: one uid's ten frames and an app's one pass the limit; closing the
    // victim until within it takes only the attacker's, and leaves the app's frame alone.
    FrameBudget budget(LIMIT);
    budget.Set(100, APP, 50);
    for (uint64_t holder = 1; holder <= 10; ++holder) {
        budget.Set(holder, ATTACKER, 20);
    }
    size_t closed = 0;
    while (budget.Over()) {
        const std::optional<uint64_t> victim = budget.Victim();
        ASSERT_TRUE(victim.has_value());
        ASSERT_NE(*victim, 100U);
        budget.Remove(*victim);
        ++closed;
    }
    EXPECT_EQ(closed, 8U);
    EXPECT_EQ(budget.Held(), 90U);
    EXPECT_EQ(budget.HeldBy(APP), 50U);
}

}  // namespace
