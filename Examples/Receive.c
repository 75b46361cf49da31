/* Shows the frames from the bus and the state of the link. */
#include <Orvel/Protocol.h>

#include <fcntl.h>
#include <mqueue.h>
#include <stdint.h>
#include <stdio.h>

int main(void)
{
    uint8_t m[ORVEL_CEMI_MESSAGE_SIZE];
    mqd_t queue = mq_open(ORVEL_CEMI_FROM_LL_QUEUE, O_RDONLY);
    setvbuf(stdout, NULL, _IOLBF, 0); /* show each line at once, in a pipe too */
    for (ssize_t size; (size = mq_receive(queue, (char*)m, sizeof(m), NULL)) > 1;)
        if (m[1] == ORVEL_LINK_STATE_CODE)
            puts((m[2] << 8 | m[3]) == ORVEL_LINK_STATE_USABLE ? "link usable" : "link lost");
        else
            printf("message code 0x%02x, %zd bytes\n", m[1], size - 1);
}
