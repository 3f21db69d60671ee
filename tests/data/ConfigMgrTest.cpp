#include <qzm/data/ConfigMgr.h>

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"

namespace {

using Value = QZMConfigMgr::CfgValue;

template <typename T> Value Of(T QZMConfigMgr::CfgValue::*member, T v) {
    Value value = {};
    value.*member = v;
    return value;
}

Value Int(int v) { return Of(&Value::intValue, v); }

// The settings of a small game, logging at the ordinary level.
class ConfigTest : public ::testing::Test {
protected:
    QZMConfigMgr cfg;
    qzmtest::TempDir dir;
    qzmtest::LogCapture log{100};

    void SetUp() override {
        cfg.AddParameter("width", QZMConfigMgr::CFG_INT, Int(320));
        cfg.AddParameter("Fullscreen", QZMConfigMgr::CFG_BOOL, Value{});
        cfg.AddParameter("title", QZMConfigMgr::CFG_STRING,
                         Of(&Value::stringValue, const_cast<char*>("Untitled")));
        cfg.AddParameter("volume", QZMConfigMgr::CFG_INT, Int(5));
        cfg.AddParameter("bg", QZMConfigMgr::CFG_COLOR, Of(&Value::colorValue, {1, 2, 3, 4}));
    }
    bool CommandLine(std::vector<const char*> args) {
        args.insert(args.begin(), "game");
        return cfg.ParseCL(static_cast<int>(args.size()), const_cast<char**>(args.data()));
    }
    bool File(const std::string& body) { return cfg.ParseFile(dir.write("game.cfg", body).c_str()); }
    int IntOf(const char* name) { return cfg.GetValue(name, 0).intValue; }
    std::string TitleOf() { return cfg.GetValue("TITLE", 0).stringValue; }
    bool FullscreenOf() { return cfg.GetValue("fullscreen", 0).boolValue; }
    std::string BgOf() { return cfg.GetValue("bg", 0).colorValue.WebString(true); }
};

} // namespace

TEST_F(ConfigTest, NamesIgnoreCaseAndTypesChangeOnlyWhenAllowed) {
    EXPECT_FALSE(cfg.AddParameter("WIDTH", QZMConfigMgr::CFG_INT, Int(1)));
    EXPECT_FALSE(cfg.AddParameter("", QZMConfigMgr::CFG_INT, Int(1)));
    EXPECT_EQ(IntOf("Width"), 320);
    unsigned index = 99;
    EXPECT_FALSE(cfg.Find("c", index));
    EXPECT_EQ(index, 1u); // between bg and Fullscreen
    EXPECT_TRUE(cfg.RemoveParameter("BG"));
    EXPECT_FALSE(cfg.RemoveParameter("bg"));
    EXPECT_STREQ(cfg.cells[0].name, "Fullscreen");

    Value wide = Of(&Value::stringValue, const_cast<char*>("wide"));
    EXPECT_FALSE(cfg.SetValue("nothing", QZMConfigMgr::CFG_INT, Int(1), true));
    EXPECT_FALSE(cfg.SetValue("width", QZMConfigMgr::CFG_STRING, wide, false));
    EXPECT_TRUE(cfg.SetValue("width", QZMConfigMgr::CFG_STRING, wide, true));
    EXPECT_STREQ(cfg.GetCell("width")->value.stringValue, "wide");
    EXPECT_TRUE(cfg.SetValue("title", QZMConfigMgr::CFG_INT, Int(3), true));
    EXPECT_EQ(cfg.ParamType("title"), QZMConfigMgr::CFG_INT);
}

TEST_F(ConfigTest, CommandLineJoinsStringsAndReportsMissingValues) {
    EXPECT_FALSE(CommandLine({"-width", "640", "-Fullscreen", "-title", "My", "Game", "-volume"}));
    EXPECT_EQ(IntOf("width"), 640);
    EXPECT_TRUE(FullscreenOf());
    EXPECT_EQ(TitleOf(), "My Game");
    EXPECT_EQ(log.text(), "Config: missing value for param -volume\n");

    EXPECT_TRUE(
        CommandLine({"-FULLSCREEN", "no", "-width", "-3x", "-title", "-dash", "-bg", "#f00000"}));
    EXPECT_FALSE(FullscreenOf());
    EXPECT_EQ(IntOf("width"), -3);
    EXPECT_EQ(TitleOf(), "-dash");
    EXPECT_EQ(BgOf(), "#F00000FF");

    EXPECT_FALSE(CommandLine({"-bg", "red", "-speed", "-width", "wide", "-title"}));
    EXPECT_EQ(log.text(), "Config: missing value for param -bg\nConfig: ignored value red\n"
                          "Config: unknown parameter -speed\n"
                          "Config: missing value for param -width\n"
                          "Config: missing value for param -title\n");
    EXPECT_FALSE(CommandLine({"-bg", "#12"}));
    EXPECT_EQ(log.text(), "");
}

TEST_F(ConfigTest, FileLinesSplitOnBlanksAndStopAtAnOverlongLine) {
    EXPECT_TRUE(File("# comment\nwidth=640\n  width 640\nvolume\n"
                     "-width \t 800 # not a comment\nfullscreen true \n"
                     "title  Hello  world\r\nbg colour #102030 \nvolume loud\n"));
    EXPECT_EQ(log.text(), "Config: unknown parameter width=640\nConfig: unknown parameter \n"
                          "Config: missing value for param volume\n"
                          "Config: bad int value for param volume : loud\n");
    EXPECT_EQ(IntOf("width"), 800);
    EXPECT_FALSE(FullscreenOf());
    EXPECT_EQ(TitleOf(), "Hello  world\r");
    EXPECT_EQ(BgOf(), "#102030FF");
    EXPECT_FALSE(File("volume x\nnothing 1\n"));
    EXPECT_FALSE(cfg.ParseFile(dir.file("missing.cfg").c_str()));

    // 1023 characters fit the line buffer; a longer line ends the reading.
    std::string fits = "title " + std::string(1017, 'x');
    EXPECT_TRUE(File(fits + "\nwidth 1\ntitle " + std::string(5000, 'y') + "\nwidth 2\n"));
    EXPECT_EQ(TitleOf(), fits.substr(6));
    EXPECT_EQ(IntOf("width"), 1);
}

TEST_F(ConfigTest, SaveWritesEveryTypeByteExact) {
    for (int yearField : {105, 99}) {
        struct tm fields = {};
        fields.tm_year = yearField, fields.tm_mday = 1, fields.tm_hour = 12, fields.tm_isdst = -1;
        cfg.AddParameter(yearField == 99 ? "old" : "date", QZMConfigMgr::CFG_DATE,
                         Of(&Value::dateValue, static_cast<long>(mktime(&fields))));
    }
    cfg.AddParameter("half", QZMConfigMgr::CFG_FLOAT, Of(&Value::floatValue, 0.5f));
    cfg.AddParameter("tiny", QZMConfigMgr::CFG_FLOAT, Of(&Value::floatValue, 1.5e-7f));
    cfg.AddParameter("odd", 9, Int(1));

    std::string path = dir.file("out.cfg");
    ASSERT_TRUE(cfg.Save(path.c_str(), "saved by the test"));
    EXPECT_EQ(qzmtest::ReadFile(path),
              "#\n# saved by the test\n# Configuration file\n#\n\nbg\t#010203\n"
              "date\t2005/00/01 12:00:00\nFullscreen\tfalse\nhalf\t0.5\nodd\t\n"
              "old\t2099/00/01 12:00:00\ntiny\t1.5e-07\ntitle\tUntitled\nvolume\t5\nwidth\t320\n");
    EXPECT_FALSE(cfg.Save(dir.file("no/such/dir").c_str(), nullptr));
}
