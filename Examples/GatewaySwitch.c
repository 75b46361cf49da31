/*
 * A light switch through the gateway: the programming button switches group address 1/2/3, and the LED shows what 1/2/4
 * reports. Other programs can use the bus and the button at the same time.
 */
#include <Orvel/Gateway.h>
#include <Orvel/Protocol.h>

#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

static int gateway = -1;

static int isConnected(const char* path)
{
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    strncpy(address.sun_path, path, sizeof(address.sun_path) - 1);
    close(gateway); /* nothing happens to -1 */
    gateway = socket(AF_UNIX, SOCK_SEQPACKET, 0);
    if (connect(gateway, (const struct sockaddr*)&address, sizeof(address)) == 0)
        return 1;
    if (errno == ENOENT || errno == ECONNREFUSED) /* it does not run now */
        return 0;
    perror(path);
    exit(EXIT_FAILURE);
}

static void sendTelegram(uint8_t group, uint8_t service) /* to 1/2/group */
{
    const uint8_t message[] = {11, 0x11, 0, 0xbc, 0xe0, 0, 0, 0x0a, group, 1, 0, service};
    if (send(gateway, message, sizeof(message), MSG_NOSIGNAL) == -1)
        perror("not sent");
}

static void onTelegram(const uint8_t* frame) /* behind the additional information, with 1 byte of TPCI and 1 of APCI */
{
    const int toStatus = (frame[1] & 0x80) != 0 && frame[4] == 0x0a && frame[5] == 4;
    const int service = frame[8] & 0xfe; /* 0x80 writes, 0x40 answers a read */
    if (!toStatus || frame[6] != 1 || frame[7] != 0 || (service != 0x80 && service != 0x40))
        return;
    /* Only a change of the number reaches the board, whose LEDs may have gone out with a reset meanwhile. */
    FILE* const led = fopen("/sys/class/leds/prg1/brightness", "w");
    if (led == NULL || fputs("0", led) == EOF || fflush(led) == EOF || fputs(frame[8] & 1 ? "100" : "0", led) == EOF ||
        fclose(led) == EOF)
        perror("prg1");
    printf("the light is %s\n", frame[8] & 1 ? "on" : "off");
}

static void onButton(uint8_t state)
{
    static double last = -1;
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    const double now = (double)time.tv_sec + (double)time.tv_nsec / 1e9;
    /* A press from before the daemon ran comes three times. */
    if (state == ORVEL_PROG_BUTTON_PRESSED && now - last > 0.1)
    {
        static int on;
        on = !on;
        printf("switched %s\n", on ? "on" : "off");
        sendTelegram(3, on ? 0x81 : 0x80);
    }
    last = state == ORVEL_PROG_BUTTON_PRESSED ? now : -1;
}

static void onMessage(const uint8_t* message, size_t size) /* the first byte is not the size of long frames */
{
    const int isLong = size >= 12 && size >= 12u + message[2]; /* enough for a telegram */
    if (size == ORVEL_GATEWAY_BUTTON_MESSAGE_SIZE && message[1] == ORVEL_GATEWAY_BUTTON_CODE)
        onButton(message[2]);
    else if (size == ORVEL_LINK_STATE_MESSAGE_SIZE && message[1] == ORVEL_LINK_STATE_CODE)
    {
        printf("the link is %s\n", message[3] == ORVEL_LINK_STATE_USABLE ? "usable" : "lost");
        if (message[3] == ORVEL_LINK_STATE_USABLE)
            sendTelegram(4, 0x00); /* read: what happened meanwhile? */
    }
    else if (size == ORVEL_GATEWAY_LOST_MESSAGE_SIZE && message[1] == ORVEL_GATEWAY_LOST_CODE)
        sendTelegram(4, 0x00);             /* read: a report may be among the messages that are missing */
    else if (isLong && message[1] == 0x29) /* an L_Data.ind */
        onTelegram(message + 3 + message[2]);
    else if (isLong && message[1] == 0x2e && (message[3 + message[2]] & 1) != 0) /* an L_Data.con with the error bit */
        puts("a telegram was not sent");
}

int main(int argc, char** argv)
{
    setvbuf(stdout, NULL, _IOLBF, 0);
    /* Between two connections, because gateway and daemon can start anew. */
    for (uint8_t message[ORVEL_CEMI_MESSAGE_SIZE];; sleep(1))
        if (isConnected(argc > 1 ? argv[1] : ORVEL_GATEWAY_SOCKET))
            for (ssize_t size; (size = recv(gateway, message, sizeof(message), 0)) > 0;)
                onMessage(message, (size_t)size);
}
