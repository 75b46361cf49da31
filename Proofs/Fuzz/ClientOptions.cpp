// The command line of orvelctl. The input is the arguments behind the program's name, each with a zero byte at its end.

#include "Answer.h"
#include "Button.h"
#include "Check.h"
#include "Commands.h"
#include "Decode.h"
#include "GatewaySocket.h"
#include "Generate.h"
#include "Led.h"
#include "Monitor.h"
#include "Names.h"
#include "Queue.h"
#include "Read.h"
#include "Replay.h"
#include "Send.h"
#include "Status.h"
#include "Top.h"
#include "Write.h"

#include "Expect.h"
#include "Input.h"

#include <string_view>

using namespace std::chrono_literals;
using namespace OrvelClient;

namespace
{

void ExpectWait(std::chrono::milliseconds wait)
{
    Fuzz::Expect("a wait of a day at the most", wait >= 0ms && wait <= 24h);
}

void ExpectBus(const BusOptions& bus)
{
    Fuzz::Expect("a path that a socket can have", !bus.socket.empty() && bus.socket.size() <= GatewaySocket::MaxPath);
    Fuzz::Expect("one way", !(bus.named && bus.direct));
}

void Check(const WriteOptions& write)
{
    ExpectWait(write.wait);
}

void Check(const ReadOptions& read)
{
    ExpectWait(read.wait);
    Fuzz::Expect("a time to wait for the answer", read.timeout > 0ms && read.timeout <= 1h);
}

void Check(const AnswerOptions& answer)
{
    ExpectWait(answer.wait);
}

void Check(const SendOptions& send)
{
    ExpectBus(send.bus);
    ExpectWait(send.wait);
    Fuzz::Expect("a rate that can be kept", !send.rate || (*send.rate >= 0.001 && *send.rate <= 100000));
}

void Check(const MonitorOptions& monitor)
{
    ExpectBus(monitor.bus);
    Fuzz::Expect("a file that can be full",
                 !monitor.rotation ||
                     (monitor.file != "-" && monitor.rotation->size >= 1024 && monitor.rotation->count > 0));
    Fuzz::Expect("an interval", monitor.interval >= 100ms && monitor.interval <= 24h);
}

void Check(const TopOptions& top)
{
    ExpectBus(top.bus);
}

void Check(const DecodeOptions& decode)
{
    Fuzz::Expect("time stamps for lines only", decode.timeStamp == TimeStamp::Absolute || decode.form == Form::Text);
}

void Check(const ReplayOptions& replay)
{
    ExpectBus(replay.bus);
    ExpectWait(replay.wait);
    Fuzz::Expect("a speed that can be kept", replay.speed == 0 || (replay.speed >= 0.001 && replay.speed <= 1000));
}

void Check(const GenerateOptions& generate)
{
    ExpectBus(generate.bus);
    ExpectWait(generate.wait);
    Fuzz::Expect("a rate that can be kept", generate.rate >= 0.001 && generate.rate <= 100000);
}

void Check(const NamesOptions& names)
{
    Fuzz::Expect("one form of output", !(names.json && names.complete));
}

void Check(const ButtonOptions& button)
{
    ExpectBus(button.bus);
    Fuzz::Expect("the name of a queue", Queue::IsName(button.bus.buttonQueue));
}

void Check(const StatusOptions& status)
{
    ExpectBus(status.bus);
}

void Check(const LedOptions& led)
{
    Fuzz::Expect("a brightness", !led.brightness || (*led.brightness >= 0 && *led.brightness <= 100));
}

void Check(const CheckOptions& check)
{
    Fuzz::Expect("a pin", check.resetGpio >= 0);
}

// Looks at the options if it is this command that was given.
template<typename Options>
void CheckIf(const Command& command, int argc, const char* const* argv)
{
    if (argc == 0 || std::string_view(command.name) != argv[0])
    {
        return;
    }
    Options options;
    Arguments::Parser parser(command.name, command.usage, command.description);
    options.AddTo(parser);
    if (!parser.Parse(argc, argv))
    {
        Check(options);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    std::vector<std::string> arguments = Fuzz::TakeArguments(data, size);
    arguments.insert(arguments.begin(), "orvelctl");
    const std::vector<const char*> argv = Fuzz::Argv(arguments);
    const int argc = static_cast<int>(arguments.size());
    try
    {
        Fuzz::Expect("something to do", static_cast<bool>(ActionFor(argc, argv.data())));
        CheckIf<WriteOptions>(WriteCommand(), argc - 1, argv.data() + 1);
        CheckIf<ReadOptions>(ReadCommand(), argc - 1, argv.data() + 1);
        CheckIf<AnswerOptions>(AnswerCommand(), argc - 1, argv.data() + 1);
        CheckIf<SendOptions>(SendCommand(), argc - 1, argv.data() + 1);
        CheckIf<MonitorOptions>(MonitorCommand(), argc - 1, argv.data() + 1);
        CheckIf<TopOptions>(TopCommand(), argc - 1, argv.data() + 1);
        CheckIf<DecodeOptions>(DecodeCommand(), argc - 1, argv.data() + 1);
        CheckIf<ReplayOptions>(ReplayCommand(), argc - 1, argv.data() + 1);
        CheckIf<GenerateOptions>(GenerateCommand(), argc - 1, argv.data() + 1);
        CheckIf<NamesOptions>(NamesCommand(), argc - 1, argv.data() + 1);
        CheckIf<ButtonOptions>(ButtonCommand(), argc - 1, argv.data() + 1);
        CheckIf<LedOptions>(LedCommand(), argc - 1, argv.data() + 1);
        CheckIf<StatusOptions>(StatusCommand(), argc - 1, argv.data() + 1);
        CheckIf<CheckOptions>(CheckCommand(), argc - 1, argv.data() + 1);
    }
    catch (const Failure& failure)
    {
        Fuzz::Expect("a wrong option", failure.ExitStatus() == Status::WrongOption);
        Fuzz::Expect("what is wrong", *failure.what() != '\0');
    }
    return 0;
}
