// orvelctl names.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/Paths.h"

#include <gmock/gmock.h>

#include <fstream>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace
{

const std::string House = Paths::InSourceTree("Examples/House/group-addresses.xml");

// In a file system where /etc is empty but for what the commands make there.
Outcome WithEmptyEtc(const std::string& commands)
{
    return ClientProgram::InShell("unshare --mount sh -ec 'busybox mount -t tmpfs none /etc; mkdir /etc/orvel; " +
                                  commands + "'")
        .End();
}

TEST(ClientNames, AreListedWithAddressTypeAndDescription)
{
    EXPECT_THAT(RunClient({"names", "--names", House, "kitchen"}).lines,
                ElementsAre("1/2/1    1.001   Lights/Kitchen/Ceiling", "1/2/2    1.011   Lights/Kitchen/Ceiling state",
                            "1/2/3    1.001   Lights/Kitchen/Worktop  # Under the \"long\" shelf",
                            "2/2/1    9.001   Heating/Kitchen/Temperature",
                            "2/2/2    9.001   Heating/Kitchen/Setpoint"));
    EXPECT_THAT(RunClient({"names", "--names", House, "4/*/3-4"}).lines,
                ElementsAre("4/1/3    1.005   Central/Weather/Rain",
                            "4/1/4    9       Central/Weather/Outdoor temperature",
                            "4/2/3            Central/Time/Reserve"));
    const Outcome all = RunClient({"names", "--names", House});
    EXPECT_EQ(all.status, 0);
    EXPECT_THAT(all.lines, SizeIs(27));
}

TEST(ClientNames, LeaveNoBlanksBehindAGroupWithoutAName)
{
    const TemporaryDirectory directory;
    const std::string file = directory.File("unnamed");
    std::ofstream(file) << ",1/1/1,,,,\n,1/1/2,,,,DPT-1\n";
    EXPECT_THAT(RunClient({"names", "--names", file}).lines, ElementsAre("1/1/1", "1/1/2    1"));
}

TEST(ClientNames, AreJsonObjectsIfWanted)
{
    EXPECT_THAT(RunClient({"names", "--names", House, "--json", "Reserve"}).lines,
                ElementsAre(R"({"address":"4/2/3","name":"Central/Time/Reserve"})"));
    EXPECT_THAT(RunClient({"names", "--names", House, "--json", "Worktop"}).lines,
                ElementsAre(R"({"address":"1/2/3","name":"Lights/Kitchen/Worktop","type":"1.001",)"
                            R"("description":"Under the \"long\" shelf"})"));
}

TEST(ClientNames, CompleteAWordForAShell)
{
    EXPECT_THAT(RunClient({"names", "--names", House, "--complete", "--", "Blinds/"}).lines,
                ElementsAre("Blinds/Living room/Up/down", "Blinds/Living room/Stop", "Blinds/Living room/Position"));
    EXPECT_THAT(RunClient({"names", "--names", House, "--complete", "--", "-x"}).lines, ElementsAre());
}

TEST(ClientNames, SayAtATerminalWhatWasRecognised)
{
    const std::string file = Paths::InSourceTree("Examples/House/group-addresses-3-columns.csv");
    EXPECT_THAT(OnTerminal("\"$ORVELCTL\" names --names " + file + " Rain"),
                HasSubstr("orvelctl: 1 of 27 groups in " + file +
                          ": CSV with three columns of names, semicolons, a header, Windows-1252\r\n"));
}

TEST(ClientNames, ComeFromTheOptionThenTheEnvironmentThenTheUsualFile)
{
    const std::string files =
        "echo \"Usual,1/1/1\" >/etc/orvel/group-addresses.xml; echo \"Variable,1/1/2\" >/etc/variable; "
        "echo \"Option,1/1/3\" >/etc/option; ";
    const std::string names = "\"$ORVELCTL\" names --complete";
    EXPECT_THAT(WithEmptyEtc(files + names).lines, ElementsAre("Usual"));
    EXPECT_THAT(WithEmptyEtc(files + "ORVEL_NAMES=/etc/variable " + names).lines, ElementsAre("Variable"));
    EXPECT_THAT(WithEmptyEtc(files + "ORVEL_NAMES=/etc/variable " + names + " --names /etc/option").lines,
                ElementsAre("Option"));
    EXPECT_THAT(WithEmptyEtc(files + "ORVEL_NAMES= " + names).lines, ElementsAre());
    EXPECT_THAT(WithEmptyEtc(files + "ORVEL_NAMES=/etc/variable " + names + " --names \"\"").lines, ElementsAre());
}

TEST(ClientNames, AreNeededOnlyWhereSomebodyHasNamedTheFile)
{
    const Outcome usual = WithEmptyEtc("\"$ORVELCTL\" names");
    EXPECT_EQ(usual.status, 5);
    EXPECT_THAT(usual.lines,
                ElementsAre("orvelctl: there are no names in /etc/orvel/group-addresses.xml; another file: --names"));
    EXPECT_EQ(WithEmptyEtc("\"$ORVELCTL\" names --complete").status, 0);
    const Outcome named = RunClient({"names", "--names", "/no/such/file"});
    EXPECT_EQ(named.status, 1);
    EXPECT_THAT(named.lines, ElementsAre("orvelctl: cannot read /no/such/file: No such file or directory"));
    EXPECT_THAT(RunClient({"names", "--names", "/"}).lines, ElementsAre("orvelctl: cannot read /: Is a directory"));
}

TEST(ClientNames, AreNotUsedInPartOfABrokenFile)
{
    const TemporaryDirectory directory;
    const std::string file = directory.File("broken");
    std::ofstream(file) << "Lamp,1/1/1\nDoor,1/8/1\n";
    const Outcome outcome = RunClient({"names", "--names", file});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: " + file +
                                           ": line 2, column 6: '1/8/1' is no group address: 8 should be 0 to 7"));
}

TEST(ClientNames, AreNotReadWithoutEnd)
{
    const Outcome outcome = RunClient({"names", "--names", "/dev/zero"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: /dev/zero is far too long for names of group addresses"));
}

TEST(ClientNames, SayWhatIsNotThere)
{
    const Outcome outcome = RunClient({"names", "--names", House, "cellar"});
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: no group is 'cellar', or has it in its name"));
    EXPECT_EQ(RunClient({"names", "--names", House, "1/9/*"}).status, 3);
    EXPECT_EQ(RunClient({"names", "--names", House, "--json", "--complete"}).status, 2);
}

} // namespace
