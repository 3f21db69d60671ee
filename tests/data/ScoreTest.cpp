#include <qzm/data/Score.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"

using qzmtest::Le;

namespace {

const std::string HEADER("\x04\x03\x02\x01\x03", 5);

int Add(QZMScore& table, const char* name, int score, int level = 1) {
    QZMScoreEntry entry = {{}, score, level};
    strncpy(entry.name, name, sizeof entry.name - 1);
    return table.Add(&entry);
}

using Rows = std::vector<std::string>;

// "name:score" per slot, top down.
Rows Ranking(const QZMScore& table) {
    Rows out;
    for (uint32_t i = 0; i < table.size; i++)
        out.push_back(std::string(table.entries[i].name) + ":" +
                      std::to_string(table.entries[i].score));
    return out;
}

} // namespace

TEST(ScoreTest, TiesKeepTheOlderEntryAboveInBothOrders) {
    QZMScore high(5, QZMScore::SCORE_HIGH_FIRST, 100);
    EXPECT_EQ(Add(high, "tie", 100), -1);
    EXPECT_EQ(Add(high, "ann", 150), 0);
    EXPECT_EQ(Add(high, "bob", 150), 1);
    for (int score : {400, 120, 130}) Add(high, "x", score);
    EXPECT_EQ(Add(high, "fay", 120), -1);
    EXPECT_EQ(Ranking(high), (Rows{"x:400", "ann:150", "bob:150", "x:130", "x:120"}));

    QZMScore low(1, QZMScore::SCORE_LOW_FIRST, 1000);
    EXPECT_EQ(Add(low, "slow", 500), 0);
    EXPECT_EQ(Add(low, "fast", 300), 0);
    EXPECT_EQ(Add(low, "same", 300), 1);
    low.Resize(0);
    EXPECT_EQ(low.size, 3u);
    low.Resize(4);
    EXPECT_EQ(Ranking(low), (Rows{"fast:300", "same:300", "slow:500", ":0"}));
    QZMScore none(0, QZMScore::SCORE_HIGH_FIRST, 0);
    EXPECT_EQ(Add(none, "x", 5), -1);
}

TEST(ScoreTest, SetSortOrderLeavesEvenMiddlesInPlace) {
    for (const Rows& reversed : {Rows{"D:32", "B:34", "C:33", "A:35"},
                                 Rows{"E:31", "D:32", "C:33", "B:34", "A:35"}}) {
        QZMScore table(uint32_t(reversed.size()), QZMScore::SCORE_HIGH_FIRST, 0);
        for (const std::string& row : reversed) Add(table, row.substr(0, 1).c_str(), 100 - row[0]);
        table.SetSortOrder(QZMScore::SCORE_LOW_FIRST);
        EXPECT_EQ(Ranking(table), reversed);
    }
    QZMScore partly(4, QZMScore::SCORE_HIGH_FIRST, 0);
    Add(partly, "only", 9);
    partly.SetSortOrder(QZMScore::SCORE_LOW_FIRST);
    EXPECT_EQ(partly.Length(), 0u); // the empty slots moved to the top
}

class ScoreFileTest : public ::testing::Test {
protected:
    qzmtest::TempDir dir;
    std::string path = dir.file("scores");
    QZMScore table{3, QZMScore::SCORE_HIGH_FIRST, 0};
};

TEST_F(ScoreFileTest, DisguisedNamesRoundTrip) {
    QZMScore saved(3, QZMScore::SCORE_LOW_FIRST, 999);
    Add(saved, "Zoe", 10, 4);
    Add(saved, "nineteen-characters", 20, 7);
    ASSERT_TRUE(saved.Save(path.c_str(), true));
    std::string bytes = qzmtest::ReadFile(path);
    ASSERT_EQ(bytes.size(), 14u + 3 * 28);
    EXPECT_EQ(bytes.substr(0, 14), HEADER + Le(3) + Le(1) + "\x01");
    EXPECT_EQ(bytes.find("nineteen"), std::string::npos);
    EXPECT_EQ(bytes.substr(14, 4), std::string("\xA5\x90\x9A\0", 4)); // ~'Z', ~'o', ~'e'
    EXPECT_EQ(bytes.substr(34, 8), Le(10) + Le(4));

    ASSERT_TRUE(table.Load(path.c_str()));
    EXPECT_EQ(table.order, QZMScore::SCORE_LOW_FIRST);
    EXPECT_EQ(Ranking(table), (Rows{"Zoe:10", "nineteen-characters:20", ":999"}));
    EXPECT_EQ(table.entries[1].level, 7);
}

TEST_F(ScoreFileTest, OldVersionsHaveNoFlagByteAndKeepTheirNameBytes) {
    std::string slot = std::string("Al\0", 3) + std::string(17, 'x') + Le(5) + Le(2);
    qzmtest::WriteFile(path, std::string("\x04\x03\x02\x01\x02", 5) + Le(1) + Le(0) + slot);
    ASSERT_TRUE(table.Load(path.c_str()));
    EXPECT_EQ(Ranking(table), (Rows{"Al:5"}));
    ASSERT_TRUE(table.Save(path.c_str(), false));
    EXPECT_EQ(qzmtest::ReadFile(path).substr(14), slot);
}

TEST_F(ScoreFileTest, FilesCutShortLoadWhatIsThereAndAbsurdCountsAreRefused) {
    qzmtest::WriteFile(path, std::string("\x01\x02\x03\x04\x03", 5) + Le(0) + Le(0) + "\0");
    EXPECT_FALSE(table.Load(path.c_str()));
    EXPECT_EQ(table.size, 3u);
    const std::string slot = std::string("Ann\0", 4) + std::string(16, 'n') + Le(7) + Le(1);
    const struct {
        uint32_t slots;
        std::string body;
        bool loads;
        uint32_t size;
        Rows head;
    } cases[] = {
        {1000, slot, false, 1000, {"Ann:7", ":0"}},
        {2, slot + std::string(19, 'n'), false, 2, {"Ann:7", "nnnnnnnnnnnnnnnnnnn:0"}},
        // Only the last name must be whole: its score and level may be missing.
        {2, slot + "Kim" + std::string(17, '\0'), true, 2, {"Ann:7", "Kim:0"}},
        // Gigabytes promised by a few bytes: nothing is allocated.
        {0xFFFFFFFF, slot, false, 0, {}},
        {0x10000000, slot, false, 0, {}},
    };
    for (const auto& c : cases) {
        qzmtest::WriteFile(path, HEADER + Le(c.slots) + Le(0) + '\0' + c.body);
        EXPECT_EQ(table.Load(path.c_str()), c.loads) << c.slots;
        EXPECT_EQ(table.size, c.size) << c.slots;
        Rows rows = Ranking(table);
        rows.resize(std::min(rows.size(), c.head.size()));
        EXPECT_EQ(rows, c.head) << c.slots;
    }
}

TEST(ScoreTest, PrintInfoCopesWithANameWithoutTerminator) {
    QZMScore table(3, QZMScore::SCORE_HIGH_FIRST, 0);
    QZMScoreEntry full = {{}, 12345, 3};
    memset(full.name, 'w', sizeof full.name);
    table.Add(&full);
    qzmtest::LogCapture log;
    table.PrintInfo();
    std::string empty = std::string(33, ' ') + "  0        0\n";
    EXPECT_EQ(log.text(), "Score table (3 entries) (name/level/score):\n[  0]" +
                              std::string(13, ' ') + std::string(20, 'w') + "   3    12345\n" +
                              "[  1] " + empty + "[  2] " + empty);
}
