#include "tests/support/TestSupport.h"

#include <qzm/core/Log.h>
#include <qzm/core/Random.h>

#include <gtest/gtest.h>

TEST(LogTest, LevelsFilterMessages) {
    qzmtest::LogCapture log(100);
    QZM::ERR("e%d\n", 1);
    QZM::WARN("w\n");
    QZM::LOG("l\n");
    QZM::DBG("d\n");
    QZM::LOG(nullptr);
    EXPECT_EQ(log.text(), "e1\nw\nl\n");
    QZM::SetLogLevel(10);
    QZM::WARN("w");
    QZM::LOG("l");
    EXPECT_EQ(log.text(), "w");
    QZM::SetLogLevel(1000); // clamped to 255: LOGL(256) stays silent, LOGL(0) always does
    QZM::LOGL(0, "never");
    QZM::LOGL(256, "over");
    QZM::LOGL(255, "top");
    EXPECT_EQ(log.text(), "top");
}

TEST(LogTest, TargetSelection) {
    qzmtest::TempDir dir;
    std::string path = dir.file("out.log");
    qzmtest::WriteFile(path, "old content");
    EXPECT_TRUE(QZM::SetLogTarget(2, path.c_str()));
    QZM::ERR("fresh\n");
    EXPECT_EQ(qzmtest::ReadFile(path), "fresh\n"); // truncated, flushed at once
    EXPECT_TRUE(QZM::SetLogTarget(1, nullptr) && QZM::log_file == stderr);
    EXPECT_FALSE(QZM::SetLogTarget(2, nullptr));
    EXPECT_EQ(QZM::GetLogTarget(), 0u);
    EXPECT_TRUE(QZM::SetLogTarget(7, nullptr) && QZM::log_file == stdout);
}

TEST(LogTest, CloseLogRefusesToCloseStandardStreams) {
    qzmtest::LogCapture log(100);
    FILE* capture = QZM::log_file;
    QZM::log_file = stdout; // a file target that points at stdout
    testing::internal::CaptureStdout();
    QZM::CloseLog();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "LOGClose: file was stdout/err and target was file !\n");
    EXPECT_EQ(QZM::GetLogTarget(), 0u);
    fclose(capture);
}

TEST(RandomTest, SeedsRepeatAndRangesHold) {
    QZM::RandomInit(5);
    int a = QZM::Randomi();
    QZM::RandomInit(5);
    EXPECT_EQ(QZM::Randomi(), a);
    for (int i = 0; i < 1000; ++i) {
        int r = QZM::Randomi(10);
        float f = QZM::Randomf(2.5f);
        EXPECT_TRUE(r >= 0 && r < 10 && f >= 0 && f < 2.5f);
    }
    EXPECT_EQ(QZM::Randomi(0), 0);
}
