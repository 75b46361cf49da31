#include "NemtLogAdapter.h"

#include "ComponentTest.h"
#include "GuardedText.h"

#include <algorithm>
#include <array>
#include <functional>
#include <sstream>
#include <thread>

namespace
{

using namespace UnitTests;

class NemtLogAdapter : public ComponentTest
{
protected:
    // The link library's texts are not const.
    static char* Text(std::string text)
    {
        static thread_local std::string kept;
        kept = std::move(text);
        return kept.data();
    }

    void SetLevel(log4cplus::LogLevel level)
    {
        logger.setLogLevel(level);
    }

    // The signature in the last line, in one compiler's spelling for all.
    std::string Function() const
    {
        std::string signature = log->Details().back().function;
        for (std::size_t space = signature.find(" *"); space != std::string::npos; space = signature.find(" *"))
        {
            signature.erase(space, 1);
        }
        return signature;
    }

    log4cplus::Logger logger = log4cplus::Logger::getInstance("Nemt");
};

TEST_F(NemtLogAdapter, LogsPlainTextAtEachLevel)
{
    NemtLog_Debug(Text("one"));
    NemtLog_Warn(Text("two"));
    NemtLog_Error(Text("three"));
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Nemt one", "WARN Nemt two", "ERROR Nemt three"}));
}

TEST_F(NemtLogAdapter, FormatsAtEachLevel)
{
    NemtLog_DebugFmt(Text("%d of %s"), 1, "three");
    NemtLog_WarnFmt(Text("%x and %5.2f"), 255U, 1.5);
    NemtLog_ErrorFmt(Text("%c%c%%"), 'a', 'b');
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Nemt 1 of three", "WARN Nemt ff and  1.50", "ERROR Nemt ab%"}));
}

TEST_F(NemtLogAdapter, GivesEachLineItsFileAndItsFunctionsSignature)
{
    std::array<unsigned char, 1> data{};
    const std::vector<std::pair<std::function<void()>, std::string>> functions{
        {[] { NemtLog_Debug(Text("")); }, "void NemtLog_Debug(char*)"},
        {[] { NemtLog_Warn(Text("")); }, "void NemtLog_Warn(char*)"},
        {[] { NemtLog_Error(Text("")); }, "void NemtLog_Error(char*)"},
        {[] { NemtLog_DebugFmt(Text("%d"), 1); }, "void NemtLog_DebugFmt(char*, ...)"},
        {[] { NemtLog_WarnFmt(Text("%d"), 1); }, "void NemtLog_WarnFmt(char*, ...)"},
        {[] { NemtLog_ErrorFmt(Text("%d"), 1); }, "void NemtLog_ErrorFmt(char*, ...)"},
        {[&data] { NemtLog_DebugHex(Text(""), data.data(), 1); },
         "void NemtLog_DebugHex(char*, unsigned char*, unsigned int)"},
    };
    for (const auto& [call, signature] : functions)
    {
        call();
        EXPECT_EQ(Function(), signature);
        EXPECT_EQ(log->Details().back().file, "Driver/OrvelDriver/Src/NemtLogAdapter.cpp");
    }
}

TEST_F(NemtLogAdapter, TakesPlainTextAsItStands)
{
    NemtLog_Debug(Text("100 % of %s and %n"));
    NemtLog_Warn(Text("100 % of %s and %n"));
    NemtLog_Error(Text("100 % of %s and %n"));
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Nemt 100 % of %s and %n", "WARN Nemt 100 % of %s and %n",
                                   "ERROR Nemt 100 % of %s and %n"}));
}

TEST_F(NemtLogAdapter, FormatsOnlyOnce)
{
    NemtLog_ErrorFmt(Text("%s"), "%s %d");
    EXPECT_EQ(log->Lines(), Texts{"ERROR Nemt %s %d"});
}

TEST_F(NemtLogAdapter, DoesNotCutPlainText)
{
    const std::string text(1000, 'x');
    NemtLog_Debug(Text(text));
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Nemt " + text});
}

TEST_F(NemtLogAdapter, KeepsAFormattedTextOf255Characters)
{
    const std::string text(255, 'x');
    NemtLog_DebugFmt(Text("%s"), text.c_str());
    NemtLog_WarnFmt(Text("%s"), text.c_str());
    NemtLog_ErrorFmt(Text("%s"), text.c_str());
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Nemt " + text, "WARN Nemt " + text, "ERROR Nemt " + text}));
}

TEST_F(NemtLogAdapter, CutsAFormattedTextAfter255Characters)
{
    const std::string kept = "first" + std::string(249, 'x') + "l";
    ASSERT_EQ(kept.size(), 255U);
    NemtLog_DebugFmt(Text("%s%c"), kept.c_str(), 'c');
    NemtLog_WarnFmt(Text("%s%s"), kept.c_str(), "cut");
    NemtLog_ErrorFmt(Text("%s%s"), kept.c_str(), kept.c_str());
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Nemt " + kept, "WARN Nemt " + kept, "ERROR Nemt " + kept}));
}

TEST_F(NemtLogAdapter, LogsAFormattedTextUpToItsTerminatingZero)
{
    NemtLog_DebugFmt(Text("before%cbehind"), '\0');
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Nemt before"});
}

TEST_F(NemtLogAdapter, LogsAnEmptyLineForANullTextAndTheNextLineAsUsual)
{
    NemtLog_Debug(nullptr);
    NemtLog_Debug(Text("next"));
    NemtLog_Warn(nullptr);
    NemtLog_Warn(Text("next"));
    NemtLog_Error(nullptr);
    NemtLog_Error(Text("next"));
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Nemt ", "DEBUG Nemt next", "WARN Nemt ", "WARN Nemt next", "ERROR Nemt ",
                                   "ERROR Nemt next"}));
}

TEST_F(NemtLogAdapter, AppendsEachByteInHexadecimalWithoutPadding)
{
    std::array<unsigned char, 6> data{0x00, 0x0a, 0x10, 0x08, 0x01, 0xff};
    NemtLog_DebugHex(Text("sent:"), data.data(), data.size());
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Nemt sent: 0 a 10 8 1 ff"});
}

TEST_F(NemtLogAdapter, DumpsAsManyBytesAsAreAskedFor)
{
    std::vector<unsigned char> data;
    std::string expected = "DEBUG Nemt all:";
    std::ostringstream digits;
    for (unsigned int index = 0; index < 70000; ++index)
    {
        data.push_back(static_cast<unsigned char>(index * 7));
        digits << ' ' << std::hex << (index * 7) % 256;
    }
    for (const unsigned int length : {1U, 63U, 64U, 65U, 96U, 1000U, 1024U, 1025U, 70000U})
    {
        log->Clear();
        NemtLog_DebugHex(Text("all:"), data.data(), length);
        std::istringstream words(digits.str());
        std::string dump;
        std::string word;
        for (unsigned int index = 0; index < length && words >> word; ++index)
        {
            dump += ' ' + word;
        }
        EXPECT_EQ(log->Lines(), Texts{expected + dump});
    }
}

TEST_F(NemtLogAdapter, DumpsAnyLengthOfBytesWithTwoDigits)
{
    std::vector<unsigned char> data(300, 0xab);
    std::string dump;
    for (unsigned int length = 0; length <= data.size(); ++length)
    {
        NemtLog_DebugHex(Text("t"), data.data(), length);
        ASSERT_EQ(log->Details().back().text, "DEBUG Nemt t" + dump);
        dump += " ab";
    }
}

TEST_F(NemtLogAdapter, KeepsLineBreaks)
{
    std::array<unsigned char, 1> data{0x0a};
    NemtLog_Debug(Text("one\ntwo\n"));
    NemtLog_Warn(Text("one\r\ntwo"));
    NemtLog_Error(Text("\none"));
    NemtLog_DebugFmt(Text("one\n%s\n"), "two\nthree");
    NemtLog_WarnFmt(Text("one\r\n%d"), 2);
    NemtLog_ErrorFmt(Text("\n%d"), 1);
    NemtLog_DebugHex(Text("one\ntwo"), data.data(), data.size());
    EXPECT_EQ(log->Lines(),
              (Texts{"DEBUG Nemt one\ntwo\n", "WARN Nemt one\r\ntwo", "ERROR Nemt \none",
                     "DEBUG Nemt one\ntwo\nthree\n", "WARN Nemt one\r\n2", "ERROR Nemt \n1", "DEBUG Nemt one\ntwo a"}));
}

TEST_F(NemtLogAdapter, LogsTheTextAloneForADumpOfNoBytes)
{
    NemtLog_DebugHex(Text("nothing"), nullptr, 0);
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Nemt nothing"});
}

TEST_F(NemtLogAdapter, LogsAnEmptyLineForADumpWithoutATextAndTheNextLineAsUsual)
{
    std::array<unsigned char, 2> data{1, 2};
    NemtLog_DebugHex(nullptr, data.data(), data.size());
    NemtLog_DebugHex(Text("next"), data.data(), data.size());
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Nemt ", "DEBUG Nemt next 1 2"}));
}

TEST_F(NemtLogAdapter, LogsNothingBelowTheLoggersLevel)
{
    SetLevel(log4cplus::FATAL_LOG_LEVEL);
    std::array<unsigned char, 1> data{};
    NemtLog_Debug(Text("text"));
    NemtLog_Warn(Text("text"));
    NemtLog_Error(Text("text"));
    NemtLog_DebugFmt(Text("%d"), 1);
    NemtLog_WarnFmt(Text("%d"), 1);
    NemtLog_ErrorFmt(Text("%d"), 1);
    NemtLog_DebugHex(Text("text"), data.data(), data.size());
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(NemtLogAdapter, TestsTheLevelOfEachFunctionExactly)
{
    std::array<unsigned char, 1> data{};
    const auto callAll = [&data]
    {
        NemtLog_Debug(Text("text"));
        NemtLog_DebugFmt(Text("%d"), 1);
        NemtLog_DebugHex(Text("text"), data.data(), data.size());
        NemtLog_Warn(Text("text"));
        NemtLog_WarnFmt(Text("%d"), 1);
        NemtLog_Error(Text("text"));
        NemtLog_ErrorFmt(Text("%d"), 1);
    };
    SetLevel(log4cplus::INFO_LOG_LEVEL);
    callAll();
    EXPECT_EQ(log->Lines(), (Texts{"WARN Nemt text", "WARN Nemt 1", "ERROR Nemt text", "ERROR Nemt 1"}));
    log->Clear();
    SetLevel(log4cplus::ERROR_LOG_LEVEL);
    callAll();
    EXPECT_EQ(log->Lines(), (Texts{"ERROR Nemt text", "ERROR Nemt 1"}));
}

TEST_F(NemtLogAdapter, DoesNotTouchAPlainTextBelowTheLoggersLevel)
{
    SetLevel(log4cplus::FATAL_LOG_LEVEL);
    const GuardedText text("text");
    NemtLog_Debug(text.Get());
    NemtLog_Warn(text.Get());
    NemtLog_Error(text.Get());
    EXPECT_FALSE(text.WasRead());
}

TEST_F(NemtLogAdapter, TouchesAPlainTextAtTheLoggersLevel)
{
    const GuardedText text("text");
    NemtLog_Debug(text.Get());
    EXPECT_TRUE(text.WasRead());
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Nemt text"});
}

// The cost of a call does not change with the level.
TEST_F(NemtLogAdapter, FormatsAlsoBelowTheLoggersLevel)
{
    SetLevel(log4cplus::FATAL_LOG_LEVEL);
    for (const auto& function : {NemtLog_DebugFmt, NemtLog_WarnFmt, NemtLog_ErrorFmt})
    {
        const GuardedText argument("text");
        function(Text("%s"), argument.Get());
        EXPECT_TRUE(argument.WasRead());
    }
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(NemtLogAdapter, DumpsAlsoBelowTheLoggersLevel)
{
    SetLevel(log4cplus::FATAL_LOG_LEVEL);
    {
        const GuardedText text("text");
        NemtLog_DebugHex(text.Get(), nullptr, 0);
        EXPECT_TRUE(text.WasRead());
    }
    const GuardedText data("data");
    NemtLog_DebugHex(Text("text"), reinterpret_cast<unsigned char*>(data.Get()), 4);
    EXPECT_TRUE(data.WasRead());
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(NemtLogAdapter, KeepsTheLinesOfSeveralThreadsApart)
{
    constexpr int Threads = 4;
    constexpr int LinesPerThread = 50;
    std::vector<std::thread> threads;
    Texts expected;
    for (int number = 0; number < Threads; ++number)
    {
        for (int line = 0; line < LinesPerThread; ++line)
        {
            expected.push_back("WARN Nemt " + std::to_string(number) + " " + std::string(200, 'x') + " " +
                               std::to_string(line));
        }
        threads.emplace_back(
            [number]
            {
                for (int line = 0; line < LinesPerThread; ++line)
                {
                    NemtLog_WarnFmt(Text("%d %s %d"), number, std::string(200, 'x').c_str(), line);
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    Texts lines = log->Lines();
    std::sort(lines.begin(), lines.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(lines, expected);
}

} // namespace
