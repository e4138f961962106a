// The verbs that keep settings and lists, run on files made by hand.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/host/command.h"

namespace vkcomm::test {
namespace {

using namespace std::string_literals;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Text = testing::Matcher<std::string>;

class Settings : public Command {};

TEST_F(Settings, EndAsTheyShould) {
    struct Case {
        const char* line;
        int status;
        Text out;
        Text err;
    };

    const Case cases[] = {
        {"VKCOMM settings", 2, "", HasSubstr("subcommand is required")},
        {"VKCOMM settings show", 2, "", HasSubstr("KIND is required")},
        {"VKCOMM settings show basis x", 2, "", HasSubstr("basis")},
        {"VKCOMM settings new base - --language de", 2, "", HasSubstr("--language")},
        {"VKCOMM settings new rover-javad - --form text", 2, "",
         "vkcomm: rover-javad settings have no form text; vkcomm settings --help lists them\n"},
        {"VKCOMM settings new bluetooth - --form archive-body", 2, "", HasSubstr("no form archive-body")},
        {"VKCOMM settings show base none", 1, "", "vkcomm: cannot read none: No such file or directory\n"},
        {"VKCOMM settings show base .", 1, "", "vkcomm: cannot read .: Is a directory\n"},
        {"printf 'a\\nb\\n9\\n' | VKCOMM settings show rover -", 1, "",
         "vkcomm: -:3: is no version of a text block of this kind; vkcomm settings check tells more\n"},
        {"VKCOMM settings new base none/base", 1, "",
         "vkcomm: cannot write none/base: No such file or directory; nothing was changed\n"},
        {"VKCOMM settings new base /dev/full --force", 1, "",
         "vkcomm: cannot write /dev/full: No space left on device; it may be cut short\n"},
        {"VKCOMM settings new base . --force", 1, "", HasSubstr("Is a directory")},
        {"touch old; VKCOMM settings new base old", 1, "", "vkcomm: old exists; --force replaces it\n"},
        {"VKCOMM settings new base old --force; head -1 old", 0, "Base options:\n", ""},
        {"VKCOMM settings new base - >/dev/full", 1, "", HasSubstr("standard output takes no more")},
        {"VKCOMM settings check base old", 0, "", "vkcomm: old: every value means something\n"},
        {"VKCOMM settings new base - --language zh-hans | head -1", 0, "基准站选项:\n", ""},
        {"VKCOMM settings new rover - --language zh-hant | sed -n 2p", 0, "流動站選項版本:\n", ""},
        {"VKCOMM settings new bluetooth -", 0, "[END]\n", ""},
        {"VKCOMM settings show --help", 0, HasSubstr("vkcomm settings new base base.txt"), ""},
        {"VKCOMM antenna --help", 0, HasSubstr("vkcomm antenna add"), ""},
        {"VKCOMM bluetooth --help", 0, HasSubstr("vkcomm bluetooth add"), ""},
    };
    for (const Case& each : cases) {
        const Outcome outcome = shell(each.line);
        EXPECT_EQ(outcome.status, each.status) << each.line;
        EXPECT_THAT(outcome.out, each.out) << each.line;
        EXPECT_THAT(outcome.err, each.err) << each.line;
    }
}

TEST_F(Settings, GoThroughEveryFormAndLanguage) {
    write("base.txt",
          "基準站選項:\r\n基準站選項版本:"
          "\r\n4\r\n\r\n1\r\n\r\n15\r\n\r\n5\r\n\r\n4\r\n\r\n2\r\n\r\n2\r\n\r\n1\r\n\r\n9\r\n"
          "\r\n1\r\n\r\n1\r\n\r\n3\r\n\r\nÉcole 7\r\n\r\n2\r\n\r\n1\r\n\r\n天线\r\n\r\n0.053\r\n\r\n0.02\r\n"
          "\r\n0.0371\r\n\r\n0\r\n\r\n1.5\r\n");
    const Outcome made = shell("VKCOMM settings convert base base.txt --to archive -o base.arc && "
                               "VKCOMM settings convert base base.arc --to json -o base.json && "
                               "VKCOMM settings convert base base.json --to archive-body -o base.bin && "
                               "VKCOMM settings convert base base.bin --to archive | cmp - base.arc && "
                               "VKCOMM settings convert base base.bin --language zh-hant");
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.out,
              "基準站選項:\n基準站選項版本:\n4\n是否輸出附加的RTCM代碼:\n1\n高度角(度):\n15\nPDOP限制:"
              "\n5\nPelta GPS差分格式:\n4\n"
              "Trimble GPS差分格式:\n2\n發射間隔:\n2\n是否使用CTS:\n1\n波特率:\n9\n同位檢查:\n1\nvarek "
              "GPS埠:\n1\nTrimble GPS埠:\n3\n"
              "基準站的測站索引:\nÉcole "
              "7\n基準站的类型:\n2\n天綫參數版本:\n1\n天綫類型\n天线\n天綫底部到相位中心的距離:\n0.053\n"
              "天綫頂部到相位中心的距離:\n0.020\n天綫中部到相位中心的距離:\n0.037\n測量到天綫的部位:"
              "\n0\n测量到的天线高:\n1.500\n");
    EXPECT_EQ(made.err, "vkcomm: -: this form does not keep antenna.fMiddleOffset as it was\n");
    const auto json = nlohmann::json::parse(bytesOf("base.json"));
    EXPECT_EQ(json.at("antenna").at("fMiddleOffset"), 0.0371);
    EXPECT_EQ(json.at("strStationID"), "École 7");
    EXPECT_EQ(json.at("uOption"), (std::vector<int>{68, 6, 1, 0}));
}

TEST_F(Settings, AreShownWithTheirMeanings) {
    write("rover.json", R"({"kind": "rover-javad", "uPort": 2, "fElevMask": 7.5})");
    EXPECT_EQ(
        run("settings show rover-javad rover.json").out,
        "uDifFormat            2             corrections: 0 RTCM 2, 1 RTCM 3, 2 CMR, 3 JPS\n"
        "fElevMask             7.5           elevation mask, degrees\n"
        "fPDOPMask             30            PDOP mask\n"
        "uPort                 2             receiver port: 0 to 3 are a to d\n"
        "nBaud                 5             0 to 5: 4800, 9600, 19200, 38400, 57600, 115200 bit/s\n"
        "nNetwork              0             network corrections: 0 none, 1 VRS, 2 FKP\n"
        "nAmbiguityLevel       1             confidence of ambiguity fixes: 0 low, 1 medium, any other high\n"
        "nEnvironment          0             0 open sky, 1 forest\n");
    const auto shown = nlohmann::json::parse(run("settings show rover-javad rover.json --json").out);
    EXPECT_EQ(shown.at("uPort"), 2);
    EXPECT_EQ(shown.at("nBaud"), 5);
}

TEST_F(Settings, AreCheckedLineByLine) {
    write("rover.txt",
          "Rover option\nRover option version:\n1\nIs limit base station:\n0\nElevation mask:\n13.0\n"
          "PDOP mask:\n6.0\nUse station index:\nANY\nVarek GPS broadcast type:\n3\n"
          "Trimble GPS broadcast type\n2\nBaud rate:\n11\nParity:\n0\nvarek GPS port:\n9\nTrimble GPS "
          "port:\n2\n");
    const Outcome text = run("settings check rover rover.txt");
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(
        text.out,
        "rover.txt:17: nBaud is 11 and is not 0 to 9 (0 to 9: 300, 600, 1200, 2400, 4800, 9600, 19200, "
        "38400, "
        "57600, 115200 bit/s)\n"
        "rover.txt:21: uCom is 9 and has port 9 in bits 0 to 4; receivers have 0 to 4 (port on the maker's "
        "boards; plus 32 own GPRS link, 64 VRS, 128 data module)\n");
    const Outcome json = shell(
        "VKCOMM settings convert rover rover.txt --to archive -o x; VKCOMM settings check rover x --json");
    EXPECT_EQ(json.status, 1);
    EXPECT_THAT(json.out, StartsWith("{\"file\":\"x\",\"line\":null,\"problem\":\"nBaud is 11"));
}

TEST_F(Settings, OfAntennasAreAListFile) {
    write("list", "made by hand\r\n[ANTENNA]\r\nZephyr 2\r\n0.053\r\n0.020\r\n0.037\r\n[END]\r\n");
    const Outcome outcome =
        shell("VKCOMM antenna add list '天线' --bottom 0.1 --top -0.05\n"
              "VKCOMM antenna add list 'Zephyr 2' --middle 0.5\nVKCOMM antenna list list\n"
              "VKCOMM antenna remove list '天线'\nVKCOMM antenna list list --json\n"
              "VKCOMM antenna remove list '天线'");
    EXPECT_EQ(outcome.out,
              "   bottom      top   middle  name\n    0.000    0.000    0.500  \"Zephyr 2\"\n"
              "    0.100   -0.050    0.000  \"天线\"\n"
              "{\"kind\":\"antenna\",\"strName\":\"Zephyr 2\",\"fBottomOffset\":0.0,\"fTopOffset\":0.0,"
              "\"fMiddleOffset\":0.5}\n");
    EXPECT_EQ(outcome.err,
              "vkcomm: list: added 天线\nvkcomm: list: updated Zephyr 2\nvkcomm: list: removed 天线\n"
              "vkcomm: list: holds no 天线; list shows what it holds\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(bytesOf("list"), "[ANTENNA]\nZephyr 2\n0.000\n0.000\n0.500\n[END]\n");
}

TEST_F(Settings, OfDevicesAreAListFile) {
    write("VKBTPort.ini", "[BTINFO]\nA\n00.11.22.aa.bb.cc\n1\n[BTINFO]\nB\n00.11.22.aa.bb.cd\n0\n[BTINFO]"
                          "\nB\n00.11.22.aa.bb.ce\n0\n[END]\n");
    const Outcome outcome =
        shell("VKCOMM bluetooth prefer . B\nVKCOMM bluetooth prefer . 00:11:22:AA:BB:CE\n"
              "VKCOMM bluetooth list .\nVKCOMM bluetooth add . 00:11:22:aa:bb:cd '接收机' --prefer\n"
              "VKCOMM bluetooth remove . A\nVKCOMM bluetooth remove . A\nVKCOMM bluetooth list . --json");
    EXPECT_EQ(
        outcome.out,
        "00:11:22:aa:bb:cc   \"A\"\n00:11:22:aa:bb:cd   \"B\"\n00:11:22:aa:bb:ce * \"B\"\n"
        "{\"kind\":\"bluetooth\",\"uAddress\":\"00:11:22:aa:bb:cd\",\"strName\":\"接收机\",\"bPreferred\":1}"
        "\n"
        "{\"kind\":\"bluetooth\",\"uAddress\":\"00:11:22:aa:bb:ce\",\"strName\":\"B\",\"bPreferred\":0}\n");
    EXPECT_THAT(outcome.err,
                AllOf(StartsWith("vkcomm: ./VKBTPort.ini: B is there more than once; give the address\n"),
                      EndsWith("vkcomm: ./VKBTPort.ini: holds no A; list shows what it holds\n")));
    EXPECT_EQ(bytesOf("VKBTPort.ini"),
              "[BTINFO]\n接收机\n00.11.22.aa.bb.cd\n1\n[BTINFO]\nB\n00.11.22.aa.bb.ce\n0\n[END]\n");
}

TEST_F(Settings, ListsAreNotMadeOfWhatIsNone) {
    struct Case {
        const char* line;
        int status;
        Text err;
    };

    const Case cases[] = {
        {"VKCOMM antenna list none", 1, HasSubstr("cannot read none")},
        {"VKCOMM antenna remove none A", 1, HasSubstr("cannot read none")},
        {"VKCOMM antenna add new A; cat new >&2", 0,
         EndsWith("added A\n[ANTENNA]\nA\n0.000\n0.000\n0.000\n[END]\n")},
        {"echo text >other; VKCOMM antenna add other A", 1,
         "vkcomm: other: is no list of antennas, having neither [ANTENNA] nor [END]\n"},
        {"printf '[ANTENNA]\\nA\\n0\\n0\\n0\\n\\n[ANTENNA]\\nB\\n0\\n0\\n0\\n[END]\\n' >gap; VKCOMM antenna "
         "add gap C",
         1, HasSubstr("only 1 of 2 entries can be read")},
        {"echo '{\"fElevMask\": 1e999}' >huge; VKCOMM settings show rover huge", 1,
         HasSubstr("too large for any field")},
        {"VKCOMM antenna add . A", 1, HasSubstr("Is a directory")},
        {"VKCOMM antenna add new A --top nan", 2, HasSubstr("top to phase centre, metres is not -5 to 5")},
        {"VKCOMM antenna add new A --top 6", 2, HasSubstr("is not -5 to 5: 6")},
        {"VKCOMM antenna add new ''", 2, HasSubstr("is empty")},
        {"VKCOMM antenna add new 0123456789012345678901234567890123456789012345678", 2,
         HasSubstr("at most 48 bytes")},
        {"VKCOMM bluetooth add . 00:11:22 A", 2, "vkcomm: 00:11:22 is no address like 00:11:22:aa:bb:cc\n"},
        {"VKCOMM bluetooth add . 00:00:00:00:00:00 A", 2, HasSubstr("is no address of a device")},
        {"VKCOMM bluetooth list .", 1, HasSubstr("cannot read ./VKBTPort.ini")},
        {"VKCOMM bluetooth add none 00:11:22:aa:bb:cc A", 1, HasSubstr("cannot write none/VKBTPort.ini")},
    };
    for (const Case& each : cases) {
        const Outcome outcome = shell(each.line);
        EXPECT_EQ(outcome.status, each.status) << each.line;
        EXPECT_THAT(outcome.err, each.err) << each.line;
        EXPECT_THAT(outcome.out, IsEmpty()) << each.line;
    }
    EXPECT_EQ(bytesOf("other"), "text\n");
}

}  // namespace
}  // namespace vkcomm::test
