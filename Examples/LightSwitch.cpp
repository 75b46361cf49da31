// A light switch: the programming button switches group address 1/2/3, and the LED shows what 1/2/4 reports.
#include <Orvel/Protocol.h>

#include <err.h>
#include <fcntl.h>
#include <mqueue.h>
#include <poll.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <thread>

struct Queue
{
    bool IsThere() // the daemon makes new queues when it starts; those from before stay silent
    {
        using Status = struct stat;
        Status status{};
        if (fstat(descriptor, &status) == 0 && status.st_nlink != 0)
            return true;
        mq_close(descriptor); // nothing happens to -1
        descriptor = mq_open(name, access | O_NONBLOCK);
        if (descriptor == -1 && errno != ENOENT)
            err(EXIT_FAILURE, "%s", name);
        return descriptor != -1;
    }
    const char* const name;
    const int access;
    mqd_t descriptor = -1;
};

struct LightSwitch
{
    void Run() // for a second at most, once the daemon is there
    {
        while (!toLink.IsThere() || !fromLink.IsThere() || !button.IsThere())
            std::this_thread::sleep_for(std::chrono::seconds(1));
        std::array<pollfd, 2> set{{{fromLink.descriptor, POLLIN, 0}, {button.descriptor, POLLIN, 0}}};
        poll(set.data(), set.size(), 1000);
        std::array<char, ORVEL_CEMI_MESSAGE_SIZE> bytes{};
        const auto* const message = reinterpret_cast<const uint8_t*>(bytes.data());
        for (ssize_t size = 0; (size = mq_receive(fromLink.descriptor, bytes.data(), bytes.size(), nullptr)) > 0;)
            OnMessage(message, static_cast<std::size_t>(size));
        while (mq_receive(button.descriptor, bytes.data(), bytes.size(), nullptr) == 1)
            OnButton(message[0]);
    }
    void OnMessage(const uint8_t* message, std::size_t size) // the first byte is not the size of long frames
    {
        const bool isState = size == ORVEL_LINK_STATE_MESSAGE_SIZE && message[1] == ORVEL_LINK_STATE_CODE;
        const bool isUsable = isState && message[3] == ORVEL_LINK_STATE_USABLE;
        if (isState)
            std::cout << "the link is " << (isUsable ? "usable" : "lost") << std::endl;
        if (isUsable)
            Send(4, 0x00);                                              // read: what happened meanwhile?
        if (size < 12 || size < 12U + message[2] || message[1] != 0x29) // an L_Data.ind
            return;
        const uint8_t* const frame = message + 3 + message[2]; // behind the additional information
        const bool isStatus = (frame[1] & 0x80U) != 0 && frame[4] == 0x0A && frame[5] == 4 && frame[6] == 1;
        if (!isStatus || frame[7] != 0 || ((frame[8] & 0xFEU) != 0x80 && (frame[8] & 0xFEU) != 0x40)) // write, answer
            return;
        std::ofstream led("/sys/class/leds/prg1/brightness");
        if (!(led << 0 << std::flush << 100 * (frame[8] & 1U) << std::flush)) // only a change reaches the board
            std::cerr << "prg1: cannot be set" << std::endl;
        std::cout << "the light is " << ((frame[8] & 1U) != 0 ? "on" : "off") << std::endl;
    }
    void OnButton(uint8_t state)
    {
        const auto now = std::chrono::steady_clock::now();
        if (state == ORVEL_PROG_BUTTON_PRESSED && now - last > std::chrono::milliseconds(100))
        {
            on = !on; // once: a press from before the daemon ran comes three times
            std::cout << "switched " << (on ? "on" : "off") << std::endl;
            Send(3, on ? 0x81 : 0x80);
        }
        last = state == ORVEL_PROG_BUTTON_PRESSED ? now : decltype(last){};
    }
    void Send(uint8_t group, uint8_t service) const // to 1/2/group
    {
        const std::array<uint8_t, 12> message{11, 0x11, 0, 0xBC, 0xE0, 0, 0, 0x0A, group, 1, 0, service};
        if (mq_send(toLink.descriptor, reinterpret_cast<const char*>(message.data()), message.size(), 0) == -1)
            std::cerr << "not sent: the queue is full" << std::endl;
    }
    Queue toLink{ORVEL_CEMI_TO_LL_QUEUE, O_WRONLY}, fromLink{ORVEL_CEMI_FROM_LL_QUEUE, O_RDONLY};
    Queue button{ORVEL_PROG_BUTTON_QUEUE, O_RDONLY};
    std::chrono::steady_clock::time_point last;
    bool on = false;
};

int main()
{
    for (LightSwitch lightSwitch;;)
        lightSwitch.Run();
}
