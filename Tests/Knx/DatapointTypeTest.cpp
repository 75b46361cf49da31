#include "Knx/DatapointType.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>
#include <vector>

using namespace Knx;
using testing::IsNull;

namespace
{

std::string NumberOf(const char* text)
{
    const DatapointType* const type = FindDatapointType(text);
    return type == nullptr ? "none" : type->Number();
}

std::string Complaint(const char* number)
{
    try
    {
        DatapointTypeOf(number);
        return "none";
    }
    catch (const NotAValue& wrong)
    {
        return wrong.what();
    }
}

std::vector<std::string> TextsOf(const DatapointField& field)
{
    std::vector<std::string> texts;
    std::string_view rest = field.texts;
    while (!rest.empty())
    {
        const std::size_t end = std::min(rest.find('|'), rest.size());
        texts.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return texts;
}

bool IsIdentifier(std::string_view name)
{
    return !name.empty() && name.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ") ==
                                std::string_view::npos;
}

int64_t Highest(const DatapointField& field)
{
    const unsigned bits = field.kind == FieldKind::Signed ? field.bits - 1U : field.bits;
    return static_cast<int64_t>((uint64_t{1} << bits) - 1U);
}

} // namespace

TEST(DatapointType, IsFoundInAnyOfTheWaysInWhichPeopleWriteIt)
{
    for (const char* const text :
         {"9.001", "9.1", "DPT 9.001", "dpt 9.001", "DPT9.001", "DPT-9.001", "DPST-9-1", "9-1"})
    {
        EXPECT_EQ(NumberOf(text), "9.001") << text;
    }
    for (const char* const text : {"9", "DPT-9", "DPT 9", "DPST-9"})
    {
        EXPECT_EQ(NumberOf(text), "9") << text;
    }
    EXPECT_EQ(NumberOf("DPST-12-1200"), "12.1200");
}

TEST(DatapointType, IsNotFoundWithoutANumberOfItsOwn)
{
    for (const char* const text : {"", "DPT", "DPST-", "9.", "9.001 ", " 9.001", "9.001.1", "9.000", "9.65535",
                                   "9.65537", "65545.001", "0", "temperature", "-9", "+9", "9.-1", "DPX-9-1", "DPT--9"})
    {
        EXPECT_THAT(FindDatapointType(text), IsNull()) << text;
    }
}

TEST(DatapointType, WithSubNumberZeroIsNotTheMainType)
{
    EXPECT_EQ(NumberOf("14"), "14");
    EXPECT_EQ(NumberOf("14.000"), "14.000");
}

TEST(DatapointType, ThatIsUnknownIsAnsweredWithThoseThatThereAre)
{
    EXPECT_EQ(Complaint("9.999"), "no datapoint type '9.999'; there are 9.001 to 9.011, 9.020 to 9.031");
    EXPECT_EQ(Complaint("5.2"), "no datapoint type '5.2'; there are 5.001, 5.003 to 5.006, 5.010, 5.100");
    EXPECT_EQ(Complaint("275.1"), "no datapoint type '275.1'; there are 275.100 to 275.101");
    EXPECT_EQ(
        Complaint("DPT-31"),
        "no datapoint type 'DPT-31'; there are 1 to 30, 206 to 207, 217, 219, 222, 225, 229 to 230, 232, 234 to 238, "
        "240 to 242, 244 to 246, 249 to 252, 254 to 255, 275");
    EXPECT_EQ(Complaint("65534.1").substr(0, 50), "no datapoint type '65534.1'; there are 1 to 30, 20");
    EXPECT_EQ(Complaint("a\nb"), "no datapoint type 'a\\x0ab'; they are written 9.001, DPT-9 or DPST-9-1");
}

TEST(DatapointTypes, AreSortedAndUnique)
{
    EXPECT_EQ(std::adjacent_find(DatapointTypes::begin(), DatapointTypes::end(),
                                 [](const DatapointType& one, const DatapointType& next)
                                 {
                                     const auto order = [](const DatapointType& type)
                                     { return std::pair(type.main, type.sub == DatapointType::Main ? -1 : type.sub); };
                                     return order(one) >= order(next);
                                 }),
              DatapointTypes::end());
}

TEST(DatapointTypes, Are326WithTheir57MainTypes)
{
    std::set<unsigned> mains;
    std::size_t subs = 0;
    for (const DatapointType& type : DatapointTypes())
    {
        if (type.sub == DatapointType::Main)
        {
            mains.insert(type.main);
        }
        else
        {
            ++subs;
            EXPECT_EQ(mains.count(type.main), 1) << type.Number();
        }
        EXPECT_EQ(FindDatapointType(type.Number()), &type);
    }
    EXPECT_EQ(subs, 326);
    EXPECT_EQ(mains.size(), 57);
}

TEST(DatapointTypes, HaveFieldsThatFillWholeBytesOrTheSixBitsOfTheApci)
{
    for (const DatapointType& type : DatapointTypes())
    {
        unsigned bits = 0;
        for (const DatapointField& field : type)
        {
            EXPECT_GT(field.bits, 0) << type.Number();
            bits += field.bits;
        }
        EXPECT_EQ(bits, type.bits) << type.Number();
        EXPECT_TRUE(type.IsSmall() || bits % 8 == 0) << type.Number();
        EXPECT_GT(bits, 0) << type.Number();
    }
}

TEST(DatapointTypes, HaveAsManyBitsAsTheirMainTypeAndASummaryOfIt)
{
    const DatapointType* main = nullptr;
    for (const DatapointType& type : DatapointTypes())
    {
        main = type.sub == DatapointType::Main ? &type : main;
        EXPECT_EQ(type.bits, main->bits) << type.Number();
        EXPECT_FALSE(type.name.empty()) << type.Number();
    }
}

TEST(DatapointTypes, HaveNamesForTheirFieldsUnlessThereIsOnlyOne)
{
    for (const DatapointType& type : DatapointTypes())
    {
        std::set<std::string> names;
        std::size_t fields = 0;
        for (const DatapointField& field : type)
        {
            if (field.IsReserved())
            {
                continue;
            }
            ++fields;
            std::string name(field.name);
            EXPECT_TRUE(name.empty() || IsIdentifier(name)) << type.Number() << " " << name;
            std::transform(name.begin(), name.end(), name.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
            EXPECT_TRUE(names.insert(name).second) << type.Number() << " has two fields " << name;
        }
        EXPECT_TRUE(fields == 1 || names.count("") == 0) << type.Number();
        EXPECT_GE(fields, 1) << type.Number();
        const DatapointField& last = *(type.end() - 1);
        EXPECT_TRUE(names.count("") == 0 || last.name.empty()) << type.Number() << ": the only field is the last one";
        EXPECT_TRUE(names.count("") == 0 || !last.IsReserved()) << type.Number() << ": the only field is the last one";
    }
}

TEST(DatapointTypes, HaveLimitsThatTheirBitsHaveRoomFor)
{
    for (const DatapointType& type : DatapointTypes())
    {
        for (const DatapointField& field : type)
        {
            switch (field.kind)
            {
            case FieldKind::Reserved:
            case FieldKind::Characters:
            case FieldKind::Line:
                EXPECT_EQ(field.lowest, field.highest) << type.Number();
                continue;
            case FieldKind::Float16:
                EXPECT_GE(field.lowest, -67108864) << type.Number();
                EXPECT_LE(field.highest, 67043328) << type.Number();
                break;
            case FieldKind::Float32:
                break;
            case FieldKind::Signed:
                EXPECT_GE(field.lowest, -Highest(field) - 1) << type.Number();
                EXPECT_LE(field.highest, Highest(field)) << type.Number();
                break;
            default:
                EXPECT_GE(field.lowest, 0) << type.Number();
                EXPECT_LE(field.highest, Highest(field)) << type.Number();
            }
            EXPECT_LT(field.lowest, field.highest) << type.Number();
        }
    }
}

TEST(DatapointTypes, HaveDifferentTextsForDifferentNumbersWithinTheLimits)
{
    for (const DatapointType& type : DatapointTypes())
    {
        for (const DatapointField& field : type)
        {
            std::set<std::string> texts;
            std::set<int> numbers;
            for (const std::string& text : TextsOf(field))
            {
                const std::size_t equals = text.find('=');
                EXPECT_EQ(equals == std::string::npos, field.kind == FieldKind::Bit) << type.Number() << " " << text;
                EXPECT_TRUE(texts.insert(text.substr(equals + 1)).second) << type.Number() << " " << text;
                EXPECT_EQ(text.find('=', equals + 1), std::string::npos) << "would be taken for a name: " << text;
                if (equals != std::string::npos)
                {
                    const int number = std::stoi(text);
                    EXPECT_TRUE(numbers.insert(number).second) << type.Number() << " " << text;
                    EXPECT_GE(number, field.lowest) << type.Number() << " " << text;
                    EXPECT_LE(number, field.highest) << type.Number() << " " << text;
                }
            }
            EXPECT_EQ(texts.count(""), 0) << type.Number();
            EXPECT_TRUE(field.kind != FieldKind::Bit || texts.size() == 2) << type.Number();
        }
    }
}

TEST(DatapointTypes, HaveStepsThatAreShownAsWholeNumbersOrHundredths)
{
    for (const DatapointType& type : DatapointTypes())
    {
        for (const DatapointField& field : type)
        {
            const bool isExact = field.multiplier == 1 && field.divisor == 1;
            EXPECT_TRUE(field.divisor == 1 || field.divisor == 100 || field.divisor == 255) << type.Number();
            EXPECT_TRUE(isExact || field.offset == 0) << type.Number() << ": both are nowhere needed";
            EXPECT_TRUE(field.divisor != 255 || field.lowest == 0)
                << type.Number() << ": only positive ones are rounded";
            EXPECT_TRUE(field.preset == -1 || field.kind == FieldKind::Bit) << type.Number();
        }
    }
}
