// orvelctl decode.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/OnBoard.h"

#include <gmock/gmock.h>

#include <fstream>
#include <numeric>

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Gt;
using testing::HasSubstr;
using testing::Lt;
using testing::Not;
using testing::StartsWith;

namespace
{

const std::string SwitchOn = "29 00 bc e0 11 01 0a 03 01 00 81";
const std::string Meaning = "# L_Data.ind 1.1.1 -> 1/2/3 low hops=6 T_Data_Group A_GroupValue_Write value=0x01";
const std::string Log = "(1763719200.123456) rx " + SwitchOn + "  " + Meaning + "\n(1763719201.500000) tx 11 00  # " +
                        "L_Data.req ! ends before control field 1\n";

std::string Joined(const std::vector<std::string>& lines)
{
    return std::accumulate(lines.begin(), lines.end(), std::string(),
                           [](const std::string& text, const std::string& line) { return text + line + "\n"; });
}

class ClientDecode : public testing::Test
{
protected:
    std::string File(const std::string& content) const
    {
        std::string name = directory.File("recorded");
        std::ofstream(name, std::ios::binary) << content;
        return name;
    }

    TemporaryDirectory directory;
};

class ClientDecodeOnBoard : public OnBoard
{
};

TEST_F(ClientDecode, WritesEachFormAndReadsItBack)
{
    std::string file = File(Log);
    for (const char* const format : {"json", "pcap", "ets", "text"})
    {
        const std::string next = directory.File(format);
        std::string command("$ORVELCTL decode --to ");
        command.append(format).append(" ").append(file).append(" >").append(next);
        const Outcome outcome = ClientProgram::InShell(command).End();
        EXPECT_EQ(outcome.status, 0) << format;
        EXPECT_EQ(outcome.lines.size(), 0) << format;
        file = next;
    }
    EXPECT_EQ(Joined(RunClient({"decode", file}).lines), Log);
}

TEST_F(ClientDecode, ReadsHexadecimalDigitsFromStandardInput)
{
    const std::string expected = "(0.000000) rx " + SwitchOn + "  " + Meaning;
    EXPECT_THAT(RunClient({"decode"}, SwitchOn).lines, ElementsAre(expected));
    EXPECT_THAT(RunClient({"decode", "-"}, "2900bce011010a03010081\n").lines, ElementsAre(expected));
}

TEST_F(ClientDecodeOnBoard, ReadsTheLogThatTheDaemonWrites)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    TheCoProcessor().InjectTelegram(Knx::FromHex(SwitchOn));
    EXPECT_TRUE(daemon.AwaitLine("Received on topic 256:"));
    EXPECT_EQ(RunClient({"send", "1100bce000000a04010081"}).status, 0);
    EXPECT_TRUE(daemon.AwaitLine("Sent on topic 256:"));
    EXPECT_TRUE(daemon.AwaitLine("Received on topic 256: 2e"));
    EXPECT_EQ(daemon.Stop(), 0);
    std::string journal;
    for (const std::string& line : daemon.Lines())
    {
        journal += "Nov 22 14:05:09 board orvel[417]: " + line + "\n";
    }
    const TemporaryDirectory directory;
    std::ofstream(directory.File("journal")) << journal;
    const Outcome outcome = RunClient({"decode", "--time", "date", directory.File("journal")});
    EXPECT_EQ(outcome.status, 0);
    ASSERT_EQ(outcome.lines.size(), 3);
    EXPECT_THAT(outcome.lines[0], EndsWith(" rx " + SwitchOn + "  " + Meaning));
    EXPECT_THAT(outcome.lines[1], HasSubstr(" tx 11 00 bc e0 00 00 0a 04 01 00 81  # L_Data.req"));
    EXPECT_THAT(outcome.lines[2], HasSubstr(" rx 2e 00 bc e0 "));
    for (const std::string& line : outcome.lines)
    {
        const std::string date =
            line.substr(0, line.find(" rx") == std::string::npos ? line.find(" tx") : line.find(" rx"));
        EXPECT_THAT(daemon.Lines(), Contains(StartsWith(date))) << line;
    }
}

TEST_F(ClientDecode, ReadsWhatTsharkMakesOfACapture)
{
    if (ClientProgram::InShell("tshark --version >/dev/null 2>&1").End().status != 0)
    {
        GTEST_SKIP() << "tshark is missing";
    }
    const std::string command =
        "$ORVELCTL decode --to pcap " + File(Log) + " | tshark -r - -w - -F pcapng 2>/dev/null | " + "$ORVELCTL decode";
    EXPECT_EQ(Joined(ClientProgram::InShell(command).End().lines), Log);
}

TEST_F(ClientDecode, SaysHowToKeepOneInterfaceOfSeveral)
{
    if (ClientProgram::InShell("mergecap --version >/dev/null 2>&1").End().status != 0)
    {
        GTEST_SKIP() << "the programs that come with tshark are missing";
    }
    const std::string go = "cd " + directory.File("") + "; exec 2>/dev/null; ";
    const std::string ours = "$ORVELCTL decode --to pcap " + File(Log) + " >ours; ";
    const std::string network = "echo '0000 ff ff ff ff ff ff 02 00 00 00 00 01 08 00 00 00' | text2pcap - network; ";
    const std::string merge = "mergecap -w first ours network; mergecap -w second network ours";
    ASSERT_EQ(ClientProgram::InShell(go + ours + network + merge).End().status, 0);
    for (const std::string file : {"first", "second"})
    {
        const Outcome refused = RunClient({"decode", directory.File(file)});
        EXPECT_EQ(refused.status, 3);
        ASSERT_EQ(refused.lines.size(), 1);
        std::string help = refused.lines[0].substr(refused.lines[0].find("tshark"));
        help.replace(help.find("FILE"), 4, file).replace(help.find("OTHER"), 5, "kept");
        const Outcome kept = ClientProgram::InShell(go + help + "; $ORVELCTL decode kept; rm kept").End();
        EXPECT_EQ(Joined(kept.lines), Log) << file;
    }
}

TEST_F(ClientDecode, ShowsALineBeforeTheNextOneCame)
{
    ClientProgram client({"decode"});
    client.Type(SwitchOn + "\n");
    EXPECT_TRUE(client->AwaitLine(SwitchOn));
    client.Type("11 00\n");
    EXPECT_TRUE(client->AwaitLine("tx 11 00"));
    client->Interrupt();
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 8);
    EXPECT_EQ(outcome.lines.back(), "orvelctl: stopped before the end of the input");
}

TEST_F(ClientDecode, ShowsPacketsOfACaptureThatHasNotEndedAndStops)
{
    const std::string name = directory.File("capture");
    ASSERT_EQ(ClientProgram::InShell("$ORVELCTL decode --to pcap " + File(Log) + " >" + name).End().status, 0);
    std::ifstream file(name, std::ios::binary);
    const std::string capture{std::istreambuf_iterator<char>(file), {}};
    ClientProgram client({"decode"});
    client.Type(capture);
    EXPECT_TRUE(client->AwaitLine("tx 11 00"));
    client->Interrupt();
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 8);
    EXPECT_EQ(outcome.lines.back(), "orvelctl: stopped before the end of the input");
}

TEST_F(ClientDecode, UsesWhatComesBeforeAnEndThatIsCutOffAndSaysSo)
{
    const std::string file = File(Log + "(1763719201.6");
    const Outcome outcome = RunClient({"decode", file});
    EXPECT_EQ(outcome.status, 0);
    ASSERT_EQ(outcome.lines.size(), 3);
    EXPECT_EQ(outcome.lines[2], "orvelctl: " + file + ": line 3 is cut off; used is what comes before it");
}

TEST_F(ClientDecode, ShowsWhatComesBeforeALineThatIsNotUnderstood)
{
    const std::string file = File(Log + "Dear all,\n");
    const Outcome outcome = RunClient({"decode", file});
    EXPECT_EQ(outcome.status, 3);
    ASSERT_EQ(outcome.lines.size(), 3);
    EXPECT_EQ(outcome.lines[2],
              "orvelctl: " + file + ": line 3: is no line of a recording: no log, JSON or hexadecimal digits");
}

TEST_F(ClientDecode, LeavesTheStateOfTheLinkOutOfATelegramLogAndSaysSo)
{
    const Outcome outcome = RunClient({"decode", "--to", "ets"}, "b9 00 01\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, Contains("orvelctl: 1 messages are no frames, and are left out"));
    EXPECT_THAT(outcome.lines, Not(Contains(HasSubstr("<Telegram "))));
}

TEST_F(ClientDecode, AnEmptyFileBecomesAnEmptyCapture)
{
    EXPECT_EQ(ClientProgram::InShell("[ $($ORVELCTL decode --to pcap </dev/null | wc -c) = 24 ]").End().status, 0);
}

TEST_F(ClientDecode, AFileThatCannotBeReadIsAFailure)
{
    const Outcome outcome = RunClient({"decode", "/no/such/file"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: cannot read /no/such/file: No such file or directory"));
}

TEST_F(ClientDecode, EndsWithTheProgramThatReadsIt)
{
    EXPECT_EQ(ClientProgram::InShell("{ yes 29 00 | $ORVELCTL decode; [ $? = 0 ] || echo failed >&2; } | head -n 1")
                  .End()
                  .lines.size(),
              1);
}

TEST_F(ClientDecode, DoesNotWriteACaptureToATerminal)
{
    EXPECT_EQ(OnTerminal("$ORVELCTL decode --to pcap " + File(Log) + "; echo $?"),
              "orvelctl: a capture is nothing for a terminal: let a file or a program take it\r\n2\r\n");
}

TEST_F(ClientDecode, WritesOnlyWhatTheFilterChooses)
{
    const std::string file = File(Log);
    EXPECT_THAT(RunClient({"decode", "--kind", "req", file}).lines, ElementsAre(HasSubstr(" tx 11 00 ")));
    EXPECT_THAT(RunClient({"decode", "--not", "--kind", "req", file}).lines, ElementsAre(HasSubstr("rx " + SwitchOn)));
}

// What an independent program chooses by its own filter is what ours chooses, telegram by telegram.
TEST_F(ClientDecode, ChoosesWhatTsharkChooses)
{
    if (ClientProgram::InShell("tshark --version >/dev/null 2>&1").End().status != 0)
    {
        GTEST_SKIP() << "tshark is missing";
    }
    const std::string file = directory.File("capture");
    // Each has a time of its own; the devices 1.1.0 to 1.1.9 send.
    ASSERT_EQ(ClientProgram::InShell(
                  "$ORVELCTL generate --group '0/*' --group '1/*' -n 2000 --seed 3 --rate 100000 --print | "
                  "awk '{ $5 = \"11\"; $6 = \"0\" NR % 10; print \"(\" NR \".000000) tx \" $0 }' | "
                  "$ORVELCTL decode --to pcap >" +
                  file)
                  .End()
                  .status,
              0);
    const std::vector<std::pair<std::string, std::string>> filters{
        {"--group '1/2/*'", "cemi.da >= 0x0a00 && cemi.da <= 0x0aff"},
        {"--service read", "cemi.ac == 0"},
        {"--service response,write", "cemi.ac == 1 || cemi.ac == 2"},
        {"--source 1.1.3-5", "cemi.sa >= 0x1103 && cemi.sa <= 0x1105"},
        {"--not --group '1/*' --service write", "!(cemi.da >= 0x0800 && cemi.da <= 0x0fff && cemi.ac == 2)"},
        {"--group '1/*' --not --group '1/2/*'",
         "cemi.da >= 0x0800 && cemi.da <= 0x0fff && !(cemi.da >= 0x0a00 && cemi.da <= 0x0aff)"},
        {"--group '1/*' --service read,write --not --service write --source 1.1.5",
         "cemi.da >= 0x0800 && cemi.da <= 0x0fff && cemi.ac in {0, 2} && !(cemi.ac == 2 && cemi.sa == 0x1105)"},
        {"--group '1/*' --not --service write --not --source 1.1.5",
         "cemi.da >= 0x0800 && cemi.da <= 0x0fff && !(cemi.ac == 2) && !(cemi.sa == 0x1105)"},
    };
    for (const auto& [ours, theirs] : filters)
    {
        std::string command("$ORVELCTL decode ");
        command.append(ours).append(" ").append(file);
        const Outcome chosen = ClientProgram::InShell(command).End();
        command = "tshark -r ";
        command.append(file).append(" -Y '").append(theirs).append("' -w - 2>/dev/null | $ORVELCTL decode");
        EXPECT_EQ(chosen.lines, ClientProgram::InShell(command).End().lines) << ours;
        EXPECT_THAT(chosen.lines.size(), AllOf(Gt(0), Lt(2000))) << ours;
    }
}

TEST_F(ClientDecode, TakesNamesForGroups)
{
    const std::string names = directory.File("names.xml");
    std::ofstream(names) << R"(<GroupAddress-Export xmlns="http://knx.org/xml/ga-export/01">
  <GroupRange Name="Lights" RangeStart="2560" RangeEnd="2815">
    <GroupAddress Name="Ceiling" Address="1/2/3" DPTs="DPST-1-1"/>
  </GroupRange>
</GroupAddress-Export>)";
    const std::string file = File(Log + "(1763719201.500000) rx 29 00 bc e0 11 01 0a 04 01 00 81\n");
    EXPECT_THAT(RunClient({"decode", "--names", names, "--group", "Ceiling", file}).lines,
                ElementsAre(EndsWith("A_GroupValue_Write value=0x01 = On  Lights/Ceiling")));
    EXPECT_THAT(RunClient({"generate", "--names", names, "--group", "Ceiling", "-n", "1", "--print"}).lines,
                ElementsAre(HasSubstr(" 0a 03 01 00 ")));
    const Outcome outcome = RunClient({"decode", "--names", names, "--group", "Wall", file});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.lines, ElementsAre(HasSubstr("no group has the name 'Wall'")));
}

} // namespace
