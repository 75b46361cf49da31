/* Shows when the programming button is pressed and released. */
#include <Orvel/Protocol.h>

#include <fcntl.h>
#include <mqueue.h>
#include <stdio.h>

int main(void)
{
    char state;
    mqd_t queue = mq_open(ORVEL_PROG_BUTTON_QUEUE, O_RDONLY);
    setvbuf(stdout, NULL, _IOLBF, 0); /* show each line at once, in a pipe too */
    while (mq_receive(queue, &state, 1, NULL) == 1)
        puts(state == ORVEL_PROG_BUTTON_PRESSED ? "pressed" : "released");
}
