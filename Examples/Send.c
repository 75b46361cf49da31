/* Sends a frame to the bus: group address 1/2/3 on. */
#include <Orvel/Protocol.h>

#include <fcntl.h>
#include <mqueue.h>
#include <stdint.h>
#include <stdio.h>

int main(void)
{
    const uint8_t frame[] = {11,                     /* bytes follow */
                             0x11, 0x00, 0xbc, 0xe0, /* L_Data.req, priority low */
                             0x00, 0x00, 0x0a, 0x03, /* to 1/2/3 */
                             0x01, 0x00, 0x81};      /* write 1 */
    mqd_t queue = mq_open(ORVEL_CEMI_TO_LL_QUEUE, O_WRONLY);
    if (mq_send(queue, (const char*)frame, sizeof(frame), 0) == 0)
        return 0;
    perror(ORVEL_CEMI_TO_LL_QUEUE); /* no daemon, or no right */
    return 1;
}
