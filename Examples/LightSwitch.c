/* A light switch: the programming button switches group address 1/2/3, and the LED shows what 1/2/4 reports. */
#include <Orvel/Protocol.h>

#include <errno.h>
#include <fcntl.h>
#include <mqueue.h>
#include <poll.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

static mqd_t toLink = -1, fromLink = -1, button = -1;

/* Whether the queue is there. The daemon makes new ones when it starts; those from before stay silent. */
static int isThere(mqd_t* queue, const char* name, int access)
{
    struct stat state;
    if (fstat(*queue, &state) == 0 && state.st_nlink != 0)
        return 1;
    mq_close(*queue); /* nothing happens to -1 */
    *queue = mq_open(name, access | O_NONBLOCK);
    if (*queue == -1 && errno != ENOENT)
    {
        perror(name);
        exit(EXIT_FAILURE);
    }
    return *queue != -1;
}

static void sendTelegram(uint8_t group, uint8_t service) /* to 1/2/group */
{
    const uint8_t message[] = {11, 0x11, 0, 0xbc, 0xe0, 0, 0, 0x0a, group, 1, 0, service};
    if (mq_send(toLink, (const char*)message, sizeof(message), 0) == -1)
        perror("not sent"); /* EAGAIN: the queue is full */
}

static void onMessage(const uint8_t* message, size_t size) /* the first byte is not the size of long frames */
{
    if (size == ORVEL_LINK_STATE_MESSAGE_SIZE && message[1] == ORVEL_LINK_STATE_CODE)
    {
        printf("the link is %s\n", message[3] == ORVEL_LINK_STATE_USABLE ? "usable" : "lost");
        if (message[3] == ORVEL_LINK_STATE_USABLE)
            sendTelegram(4, 0x00); /* read: what happened meanwhile? */
        return;
    }
    if (size < 12 || size < 12u + message[2] || message[1] != 0x29) /* an L_Data.ind */
        return;
    const uint8_t* const frame = message + 3 + message[2]; /* behind the additional information */
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

int main(void)
{
    setvbuf(stdout, NULL, _IOLBF, 0);
    for (;;)
    {
        while (!isThere(&toLink, ORVEL_CEMI_TO_LL_QUEUE, O_WRONLY) ||
               !isThere(&fromLink, ORVEL_CEMI_FROM_LL_QUEUE, O_RDONLY) ||
               !isThere(&button, ORVEL_PROG_BUTTON_QUEUE, O_RDONLY))
            sleep(1);
        struct pollfd set[] = {{fromLink, POLLIN, 0}, {button, POLLIN, 0}};
        poll(set, 2, 1000);
        uint8_t message[ORVEL_CEMI_MESSAGE_SIZE];
        for (ssize_t size; (size = mq_receive(fromLink, (char*)message, sizeof(message), NULL)) > 0;)
            onMessage(message, (size_t)size);
        while (mq_receive(button, (char*)message, sizeof(message), NULL) == 1)
            onButton(message[0]);
    }
}
