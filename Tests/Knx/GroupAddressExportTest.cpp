#include "BenchKit/Paths.h"

#include "Knx/GroupAddressExport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using Knx::GroupAddressStyle;
using Knx::ReadGroupAddressExport;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

const std::string Mark = "\xEF\xBB\xBF";

// "1/1/1 1.001 Lights/Ceiling (description)"; what a group does not have is left out.
std::vector<std::string> Listed(const Knx::GroupAddresses& groups)
{
    std::vector<std::string> lines;
    for (const Knx::NamedGroup& group : groups.All())
    {
        std::string line = GroupAddress(group.address, groups.Style());
        line += group.type.empty() ? "" : " " + group.type;
        line += group.name.empty() ? "" : " " + group.name;
        line += group.description.empty() ? "" : " (" + group.description + ")";
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> Read(const std::string& content)
{
    return Listed(ReadGroupAddressExport(content).groups);
}

std::string FormOf(const std::string& content)
{
    return ReadGroupAddressExport(content).form;
}

std::string ProblemOf(const std::string& content)
{
    try
    {
        ReadGroupAddressExport(content);
    }
    catch (const Knx::NotAnExport& problem)
    {
        return problem.what();
    }
    return "none";
}

std::string Example(const std::string& name)
{
    std::ifstream file(Paths::InSourceTree("Examples/House/" + name), std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Xml(const std::string& inside)
{
    return Mark +
           "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<GroupAddress-Export "
           "xmlns=\"http://knx.org/xml/ga-export/01\">\n" +
           inside + "\n</GroupAddress-Export>\n";
}

// A group in XML, with further attributes.
std::string Group(const std::string& attributes)
{
    return Xml("<GroupAddress " + attributes + "/>");
}

TEST(GroupAddressExport, GivesTheSameGroupsInEachForm)
{
    const std::vector<std::string> groups = Read(Example("group-addresses.xml"));
    EXPECT_EQ(groups.size(), 27U);
    EXPECT_EQ(groups.front(), "1/0/1 1.001 Lights/Whole house/All off (Also sent by the alarm system)");
    EXPECT_EQ(groups.back(), "4/2/3 Central/Time/Reserve");
    EXPECT_THAT(groups, testing::Contains("1/2/3 1.001 Lights/Kitchen/Worktop (Under the \"long\" shelf)"));
    EXPECT_THAT(groups, testing::Contains("2/1/1 9.001 Heating/Living room/Temperature (At the door, in \xC2\xB0"
                                          "C)"));
    EXPECT_EQ(Read(Example("group-addresses-1-column.csv")), groups);
    EXPECT_EQ(Read(Example("group-addresses-3-columns.csv")), groups);
}

TEST(GroupAddressExport, SaysWhatItHasRecognised)
{
    EXPECT_EQ(FormOf(Example("group-addresses.xml")), "XML");
    EXPECT_EQ(FormOf(Example("group-addresses-1-column.csv")), "CSV with one column of names, tabs, a header, UTF-8");
    EXPECT_EQ(FormOf(Example("group-addresses-3-columns.csv")),
              "CSV with three columns of names, semicolons, a header, Windows-1252");
    EXPECT_EQ(FormOf("Lamp,1/1/1\n"), "CSV with one column of names, commas, no header, UTF-8");
}

TEST(XmlExport, PutsTheNamesOfTheRangesBeforeThatOfTheGroup)
{
    EXPECT_THAT(Read(Xml("<GroupAddress Name='All' Address='1/0/1'/><GroupRange Name='Lights'>"
                         "<GroupAddress Name='Off' Address='1/0/2'/><GroupRange Name=''>"
                         "<GroupAddress Name='On' Address='1/0/3'/></GroupRange></GroupRange>")),
                ElementsAre("1/0/1 All", "1/0/2 Lights/Off", "1/0/3 Lights/On"));
}

TEST(XmlExport, KnowsTheStyleOfTheAddresses)
{
    EXPECT_EQ(ReadGroupAddressExport(Group("Name='a' Address='1/2/3'")).groups.Style(), GroupAddressStyle::ThreeLevel);
    EXPECT_THAT(Read(Group("Name='a' Address='1/515'")), ElementsAre("1/515 a"));
    EXPECT_THAT(Read(Group("Name='a' Address='2563'")), ElementsAre("2563 a"));
}

TEST(XmlExport, TakesTheLastTypeForTheGroupsOwn)
{
    EXPECT_THAT(Read(Group("Name='a' Address='1' DPTs='DPST-1-1,DPST-20-102'")), ElementsAre("1 20.102 a"));
    EXPECT_THAT(Read(Group("Name='a' Address='1' DPTs='DPST-1-1,DPST-5-1,DPST-7-1'")), ElementsAre("1 7.001 a"));
    EXPECT_THAT(Read(Group("Name='a' Address='1' DPTs='DPST-9-1, DPT-9'")), ElementsAre("1 9 a"));
    EXPECT_THAT(Read(Group("Name='a' Address='1' DPTs='DPST-20-1105'")), ElementsAre("1 20.1105 a"));
    EXPECT_THAT(Read(Group("Name='a' Address='1' DPTs=''")), ElementsAre("1 a"));
    EXPECT_THAT(Read(Group("Name='a' Address='1'")), ElementsAre("1 a"));
}

TEST(XmlExport, AllowsAGroupWithoutAName)
{
    EXPECT_THAT(
        Read(Xml("<GroupRange Name='Lights'><GroupAddress Name='' Address='1/0/2' DPTs='DPT-1'/></GroupRange>")),
        ElementsAre("1/0/2 1"));
}

TEST(XmlExport, MayHaveNoGroups)
{
    EXPECT_THAT(Read(Xml("")), IsEmpty());
}

TEST(XmlExport, NeedsNoMarkOfItsEncoding)
{
    EXPECT_THAT(Read(Group("Name='Entr\xC3\xA9"
                           "e' Address='1'")
                         .substr(Mark.size())),
                ElementsAre("1 Entr\xC3\xA9"
                            "e"));
}

TEST(XmlExport, ShowsNoControlCharactersToATerminal)
{
    EXPECT_THAT(Read(Group("Name=' a&#27;[2J&#10;b\tc&#x9b;d&#127; ' Address='1' Description='&#13;&#10;x&#10;y'")),
                ElementsAre("1 a [2J b c d (x y)"));
}

TEST(XmlExport, SaysWhereItIsBroken)
{
    EXPECT_THAT(ProblemOf(Xml("<GroupAddress Name='a' Address='1/1/1'></GroupRange>")), StartsWith("line 3, column "));
    EXPECT_THAT(ProblemOf(Xml("<GroupAddress Name=a Address='1/1/1'/>")),
                StartsWith("line 3, column 20: broken XML: "));
    EXPECT_THAT(ProblemOf(Xml("\n\n<GroupRange Name='\xC3\xA9' <")), StartsWith("line 5, column 22: broken XML: "));
    EXPECT_THAT(ProblemOf("<"), StartsWith("line 1, column "));
    const std::string whole = Example("group-addresses.xml");
    for (std::size_t size = Mark.size() + 1; size < whole.rfind('>'); ++size)
    {
        ASSERT_THAT(ProblemOf(whole.substr(0, size)), StartsWith("line ")) << size;
    }
}

TEST(XmlExport, SaysWhatIsNoPartOfIt)
{
    EXPECT_EQ(ProblemOf("<html/>"), "line 1, column 2: 'html' should be GroupAddress-Export");
    EXPECT_EQ(ProblemOf("<GroupAddress-Export/><GroupAddress-Export/>"),
              "line 1, column 24: the export has ended before this");
    EXPECT_EQ(ProblemOf(Xml("<GroupAdress Name='a' Address='1/1/1'/>")),
              "line 3, column 2: this should be a GroupRange or a GroupAddress");
    EXPECT_EQ(ProblemOf(Xml("<GroupRange Name='a'>Lamp</GroupRange>")),
              "line 3, column 22: this should be a GroupRange or a GroupAddress");
}

TEST(XmlExport, SaysWhatAGroupLacks)
{
    EXPECT_EQ(ProblemOf(Group("Name='a'")), "line 3, column 2: GroupAddress has no Address");
    EXPECT_EQ(ProblemOf(Group("Address='1/2/3'")), "line 3, column 2: GroupAddress has no Name");
    EXPECT_EQ(ProblemOf(Xml("<GroupRange/>")), "line 3, column 2: GroupRange has no Name");
}

TEST(XmlExport, SaysWhichAddressIsNone)
{
    EXPECT_EQ(ProblemOf(Group("Name='a' Address='1/8/3'")),
              "line 3, column 33: '1/8/3' is no group address: 8 should be 0 to 7");
    EXPECT_EQ(ProblemOf(Group("Name='a' Address=''")), "line 3, column 33: '' is no group address");
    EXPECT_EQ(ProblemOf(Group("Name='a' Address='1.2.3'")), "line 3, column 33: '1.2.3' is no group address");
    EXPECT_EQ(ProblemOf(Group("Name='a' Address='0/0/0'")),
              "line 3, column 33: '0/0/0' addresses all devices, not a group");
    EXPECT_EQ(ProblemOf(Group("Name='\xC3\xA9' Address='" + std::string(1000, '1') + "'")),
              "line 3, column 33: '" + std::string(60, '1') + "...' is no group address");
}

TEST(XmlExport, SaysWhichTypeIsNone)
{
    for (const std::string type :
         {"DPST-9", "DPT-9-1", "DPT-9.1", "DPST-9-", "DPST--1", "DPT-", "DPST-9-1-1", "9.x", "x", "-", "9-1", "DPT"})
    {
        EXPECT_EQ(ProblemOf(Group("Name='a' Address='1' DPTs='DPT-1," + type + "'")),
                  "line 3, column 42: '" + type + "' is no datapoint type such as DPST-9-1 or DPT-9");
    }
}

TEST(XmlExport, SaysWhichAddressIsThereTwice)
{
    EXPECT_EQ(ProblemOf(Xml("<GroupAddress Name='a' Address='1/2/3'/>\n<GroupAddress Name='b' Address='1/2/4'/>\n"
                            "<GroupAddress Name='c' Address='1/515'/>")),
              "line 5, column 33: 1/2/3 is there twice; the first is on line 3");
}

TEST(XmlExport, IsInUtf8Only)
{
    EXPECT_EQ(ProblemOf(Group("Name='\xC3\xA9-\xE9' Address='1'")), "line 3, column 23: the byte 0xe9 is not UTF-8");
    EXPECT_EQ(ProblemOf("<a b='\xE9'/>"), "line 1, column 7: the byte 0xe9 is not UTF-8");
    for (const std::string bytes : {"\x80", "\xC1\x81", "\xC3-", "\xE0\x9F\x80", "\xED\xA0\x80", "\xF0\x8F\x80\x80",
                                    "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"})
    {
        EXPECT_THAT(ProblemOf(Group("Name='" + bytes + "' Address='1'")), HasSubstr("is not UTF-8"));
    }
    EXPECT_EQ(ProblemOf(Group("Name='&#xD800;' Address='1'")),
              "line 3, column 21: 'Name' has a reference to no character");
    EXPECT_EQ(ProblemOf(std::string("\xFF\xFE<\0a\0", 6)),
              "line 1, column 1: this is UTF-16 or UTF-32; save it as UTF-8");
    EXPECT_EQ(ProblemOf("\xFE\xFF"), "line 1, column 1: this is UTF-16 or UTF-32; save it as UTF-8");
}

TEST(XmlExport, HasNoBytesThatAreOfNoText)
{
    EXPECT_EQ(ProblemOf(Group("Name='a\x1b' Address='1'")), "line 3, column 22: the byte 0x1b is of no text");
    EXPECT_EQ(ProblemOf(std::string("<a>\0</a>", 8)), "line 1, column 4: the byte 0x00 is of no text");
}

TEST(XmlExport, RefusesRangesWithoutEnd)
{
    std::string text;
    for (int depth = 0; depth < 100'000; ++depth)
    {
        text += "<GroupRange Name='a'>";
    }
    for (int depth = 0; depth < 100'000; ++depth)
    {
        text += "</GroupRange>";
    }
    EXPECT_THAT(ProblemOf(Xml(text)), HasSubstr("more than 32 ranges in one another"));
}

TEST(CsvExport, HasARowForEachRangeWithOneColumnOfNames)
{
    EXPECT_THAT(Read("Lights\t1/-/-\t\t\t\t\nLiving room\t1/1/-\t\t\t\t\nCeiling\t1/1/1\t\t\tx\tDPST-1-1\n"
                     "Hall\t1/2/-\t\t\t\t\nCeiling\t1/2/1\t\t\t\t\n"),
                ElementsAre("1/1/1 1.001 Lights/Living room/Ceiling (x)", "1/2/1 Lights/Hall/Ceiling"));
}

TEST(CsvExport, HasTheNameInTheColumnOfItsLevelWithThreeColumnsOfNames)
{
    EXPECT_THAT(Read("Lights;;;1/-/-;;;;;\r\n;Living room;;1/1/-;;;;;\r\n;;Ceiling;1/1/1;;;x;DPT-1;Auto\r\n"),
                ElementsAre("1/1/1 1 Lights/Living room/Ceiling (x)"));
    EXPECT_THAT(Read("Lights;;;1/-;;;;;\r\n;Ceiling;;1/257;;;x;;Auto\r\n;;Door;1/258;;;;;\r\n"),
                ElementsAre("1/257 Lights/Ceiling (x)", "1/258 Lights/Door"));
}

TEST(CsvExport, MayHaveTheNamesOfTheRangesInTheColumnsBefore)
{
    EXPECT_THAT(Read("Lights;;;1/-/-\nLights;Living room;;1/1/-\nLights;Living room;Ceiling;1/1/1\n"),
                ElementsAre("1/1/1 Lights/Living room/Ceiling"));
}

TEST(CsvExport, MayBeSortedByAnyColumn)
{
    EXPECT_THAT(Read("Ceiling,1/1/1\nLights,1/-/-\nLiving room,1/1/-\n"),
                ElementsAre("1/1/1 Lights/Living room/Ceiling"));
}

TEST(CsvExport, MayHaveNoRowsForItsRanges)
{
    EXPECT_THAT(Read("Ceiling,1/1/1\nDoor,0/0/1\n"), ElementsAre("0/0/1 Door", "1/1/1 Ceiling"));
}

TEST(CsvExport, AllowsAGroupWithoutAName)
{
    EXPECT_THAT(Read("Lights;;;1/-/-;;;;;\n;Living room;;1/1/-;;;;;\n;;;1/1/1;;;;DPT-1;\n"), ElementsAre("1/1/1 1"));
}

TEST(CsvExport, KnowsAHeaderInAnyLanguage)
{
    EXPECT_THAT(Read("\"Gruppenname\"\t\"Adresse\"\n\"Lampe\"\t\"1/1/1\"\n"), ElementsAre("1/1/1 Lampe"));
    EXPECT_THAT(Read("Haupt;Mittel;Unter;Adresse\n;;Lampe;1/1/1\n"), ElementsAre("1/1/1 Lampe"));
}

TEST(CsvExport, TakesTheSeparatorOfTheFirstLine)
{
    EXPECT_THAT(Read("\"Lamp, left; right\"\t1/1/1\n"), ElementsAre("1/1/1 Lamp, left; right"));
    EXPECT_THAT(Read("\"Lamp, left\";1/1/1\n"), ElementsAre("1/1/1 Lamp, left"));
    EXPECT_THAT(Read("Lamp left,1/1/1\n"), ElementsAre("1/1/1 Lamp left"));
    EXPECT_THAT(Read("Lamp, left;1/1/1;\n"), ElementsAre("1/1/1 Lamp, left"));
}

TEST(CsvExport, TakesQuotesLineEndsAndSeparatorsInsideQuotes)
{
    EXPECT_THAT(Read("\"The \"\"long\"\" one; red\";1/1/1;;;\"first\r\nsecond\";\r\n"),
                ElementsAre("1/1/1 The \"long\" one; red (first  second)"));
    EXPECT_THAT(Read("19\" rack;1/1/1\n\"\";1/1/2\n\"\"\"\";1/1/3\n"),
                ElementsAre("1/1/1 19\" rack", "1/1/2", "1/1/3 \""));
}

TEST(CsvExport, MayEndWithOrWithoutANewlineAndHaveEmptyLines)
{
    EXPECT_THAT(Read("\r\n\na;1/1/1\r\n\r\n\"b\";\"1/1/2\""), ElementsAre("1/1/1 a", "1/1/2 b"));
    EXPECT_THAT(Read("a;1/1/1;\nb;1/1/2;"), ElementsAre("1/1/1 a", "1/1/2 b"));
}

TEST(CsvExport, IsTakenForWindows1252WhereItIsNotUtf8)
{
    EXPECT_THAT(Read("Entr\xE9"
                     "e;1/1/1;;;21 \xB0"
                     "C;\n"),
                ElementsAre("1/1/1 Entr\xC3\xA9"
                            "e (21 \xC2\xB0"
                            "C)"));
    EXPECT_THAT(Read("Entr\xC3\xA9"
                     "e;1/1/1\n"),
                ElementsAre("1/1/1 Entr\xC3\xA9"
                            "e"));
    EXPECT_THAT(Read("\x80\x8A\x9F\xFF;1/1/1\n"), ElementsAre("1/1/1 \xE2\x82\xAC\xC5\xA0\xC5\xB8\xC3\xBF"));
}

TEST(CsvExport, SaysWhichByteIsOfNoEncoding)
{
    EXPECT_EQ(ProblemOf("a;1/1/1\n\xE9\x81;1/1/2\n"),
              "line 2, column 2: the byte 0x81 is no character of Windows-1252, nor is this UTF-8");
    EXPECT_EQ(ProblemOf(Mark + "a;1/1/1\nEntr\xE9"
                               "e;1/1/2\n"),
              "line 2, column 5: the byte 0xe9 is not UTF-8");
    EXPECT_EQ(ProblemOf(std::string("a;1/1/1\n\xE9\0;1/1/2\n", 17)), "line 2, column 2: the byte 0x00 is of no text");
}

TEST(CsvExport, SaysWhatIsNoExport)
{
    EXPECT_EQ(ProblemOf(""), "line 1, column 1: no group address export: neither XML, nor columns with tabs, "
                             "semicolons or commas between them");
    EXPECT_EQ(ProblemOf("Hello\nworld\n"), "line 1, column 1: no group address export: neither XML, nor columns with "
                                           "tabs, semicolons or commas between them");
    EXPECT_EQ(ProblemOf("Name;Address\n"), "line 1, column 1: no group address export: no addresses in column 2 or 4");
    EXPECT_EQ(ProblemOf("Name;Address\na;b\na;1/1/1\n"),
              "line 1, column 1: no group address export: no addresses in column 2 or 4");
}

TEST(CsvExport, SaysWhichLineHasOtherColumns)
{
    EXPECT_EQ(ProblemOf("a;1/1/1;\nb;1/1/2\n"), "line 2, column 1: this line has 2 columns, the first one 3");
    EXPECT_EQ(ProblemOf("a;1/1/1\n\"b\";1/1/2;\n"), "line 2, column 1: this line has 3 columns, the first one 2");
}

TEST(CsvExport, SaysWhereQuotesAreWrong)
{
    EXPECT_EQ(ProblemOf("a;1/1/1\n\xC3\xA9;\"1/1/2\nc;1/1/3\n"), "line 2, column 3: this quote does not end");
    EXPECT_EQ(ProblemOf("a;1/1/1\n\"b\"c;1/1/2\n"), "line 2, column 4: the column should end behind its quotes");
}

TEST(CsvExport, SaysWhichAddressOrTypeIsNone)
{
    EXPECT_EQ(ProblemOf("a;1/1/1\nb;1/8/1\n"), "line 2, column 3: '1/8/1' is no group address: 8 should be 0 to 7");
    EXPECT_EQ(ProblemOf("a;1/1/1\nb;\n"), "line 2, column 3: '' is no group address");
    EXPECT_EQ(ProblemOf("a;1/1/1\nb;\"one\"\n"), "line 2, column 3: 'one' is no group address");
    EXPECT_EQ(ProblemOf("a;1/1/1;;;;\"DPT\"\n"),
              "line 1, column 12: 'DPT' is no datapoint type such as DPST-9-1 or DPT-9");
    EXPECT_EQ(ProblemOf("a;1/1/1\nb;1/1/2\nc;1/1/1\n"),
              "line 3, column 3: 1/1/1 is there twice; the first is on line 1");
}

} // namespace
