// How shells complete names of group addresses. They have blanks and slashes in them.

#include "BenchKit/Daemon.h"
#include "BenchKit/Paths.h"
#include "BenchKit/TerminalWindow.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

using testing::ElementsAre;

namespace
{

// A shell in a directory that has the example's names in house.xml. `settings` are the shell's own, for its completion.
std::string Script(const std::string& settings, const std::string& shell)
{
    return "cd \"$WINDOW\"; cp " + Paths::InSourceTree("Examples/House/group-addresses.xml") +
           " house.xml; unset ORVEL_NAMES; PATH=" + std::filesystem::path(Paths::Client()).parent_path().string() +
           ":$PATH; export PATH; cat >settings <<'END'\n" + settings + "\nPS1='ready> '\nEND\n" + shell;
}

void CompleteNames(const TerminalWindow& window)
{
    ASSERT_TRUE(window.AwaitText("ready> "));
    window.Press("orvelctl names --names house.xml Blinds/Liv");
    window.Press("Tab");
    ASSERT_TRUE(window.AwaitText("house.xml Blinds/Living\\ room/"));
    window.Press("U");
    window.Press("Tab");
    ASSERT_TRUE(window.AwaitText("house.xml Blinds/Living\\ room/Up/down"));
    window.Press("Enter");
    EXPECT_TRUE(window.AwaitText("3/1/1    1.008   Blinds/Living room/Up/down"));

    window.Press("export ORVEL_NAMES=$PWD/house.xml");
    window.Press("Enter");
    window.Press("orvelctl names \"Living room/M");
    window.Press("Tab");
    ASSERT_TRUE(window.AwaitText("names \"Living room/Mode"));
    window.Press("Enter");
    EXPECT_TRUE(window.AwaitText("2/1/3    20.102  Heating/Living room/Mode"));
}

TEST(ClientCompletion, BashCompletesNamesWithAndWithoutQuotes)
{
    if (!TerminalWindow::CanBeMade())
    {
        GTEST_SKIP() << "tmux is missing";
    }
    const TerminalWindow window(Script(". " + Paths::InSourceTree("Packaging/Completions/bash/orvelctl"),
                                       "exec bash --noprofile --rcfile settings -i"));
    CompleteNames(window);
}

// What the completion of bash makes of names for a word behind others, in brackets.
std::vector<std::string> CompletedByBash(const std::string& word, const std::string& others = "write")
{
    const std::string script = ". " + Paths::InSourceTree("Packaging/Completions/bash/orvelctl") + R"(
        compopt() { :; }
        names() { printf '%s\n' 'Lamp $(x) `y`' 'Lamp "z" \' 'Lamp!' "Lamp'"; }
        COMP_WORDS=(names $2 "$1")
        COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        _orvelctl
        printf '<%s>\n' "${COMPREPLY[@]}")";
    Daemon bash({"bash", "-c", script, "bash", word, others}, {});
    EXPECT_EQ(bash.Wait(), 0);
    return bash.Lines();
}

TEST(ClientCompletion, BashRunsNothingThatANameHasInIt)
{
    EXPECT_THAT(CompletedByBash("\"La"), ElementsAre(R"(<Lamp \$(x) \`y\`>)", R"(<Lamp \"z\" \\>)", "<Lamp'>"));
    EXPECT_THAT(CompletedByBash("'La"), ElementsAre("<Lamp $(x) `y`>", R"(<Lamp "z" \>)", "<Lamp!>"));
    EXPECT_THAT(CompletedByBash("La"),
                ElementsAre(R"(<Lamp\ \$\(x\)\ \`y\`>)", R"(<Lamp\ \"z\"\ \\>)", R"(<Lamp\!>)", R"(<Lamp\'>)"));
}

TEST(ClientCompletion, BashCompletesNamesBehindGroup)
{
    EXPECT_THAT(CompletedByBash("'La", "monitor --group"),
                ElementsAre("<Lamp $(x) `y`>", R"(<Lamp "z" \>)", "<Lamp!>"));
}

TEST(ClientCompletion, ZshCompletesNamesWithAndWithoutQuotes)
{
    if (!TerminalWindow::CanBeMade() || !std::filesystem::exists("/usr/bin/zsh"))
    {
        GTEST_SKIP() << "tmux or zsh is missing";
    }
    const TerminalWindow window(Script("fpath=(" + Paths::InSourceTree("Packaging/Completions/zsh") +
                                           " $fpath); autoload -Uz compinit; compinit -D -u",
                                       "mv settings .zshrc; ZDOTDIR=$PWD exec zsh -d -i"));
    CompleteNames(window);
}

} // namespace
