/*
 * What an application needs to talk to the orvel daemon: the names and sizes of its POSIX message queues and the bytes
 * in them. Valid C and C++; depends on nothing.
 *
 * Every message is sent with priority 0. Open the queues without O_CREAT: the daemon creates them when it starts and
 * removes them when it stops. Open them again after it was restarted: what was open before is a queue that nobody else
 * has any more. They belong to the daemon's user, who alone may write; everybody may read.
 */
#ifndef ORVEL_PROTOCOL_H
#define ORVEL_PROTOCOL_H

/*
 * cEMI frames. One queue message is a size byte followed by one frame.
 *
 * Towards the link the size byte must be the number of bytes that follow (1 to 255), or the message is dropped.
 * From the link a frame has 1 to 260 bytes and the size byte is the low eight bits of that: for 256 to 260 bytes it is
 * 0 to 4. Rely on the length that mq_receive returns.
 */
#define ORVEL_CEMI_TO_LL_QUEUE "/cemiToLL"     /* applications write */
#define ORVEL_CEMI_FROM_LL_QUEUE "/cemiFromLL" /* applications read; each message reaches one reader only */
#define ORVEL_CEMI_MESSAGE_SIZE 261            /* bytes: the size byte and the longest frame */
#define ORVEL_CEMI_QUEUE_CAPACITY 14           /* messages; a message that finds the queue full is dropped */
#define ORVEL_CEMI_MAX_FRAME_TO_LL 255         /* bytes */
#define ORVEL_CEMI_MAX_FRAME_FROM_LL 260       /* bytes */

/*
 * Link state, in "/cemiFromLL" among the frames: 0x03, ORVEL_LINK_STATE_CODE, state high byte, state low byte.
 * It has the layout of a frame; the message code in its second byte tells it apart.
 */
#define ORVEL_LINK_STATE_CODE 0xB9
#define ORVEL_LINK_STATE_MESSAGE_SIZE 4 /* bytes, size byte included */
#define ORVEL_LINK_STATE_USABLE 0x0001  /* after start, and after each recovery of the link */
#define ORVEL_LINK_STATE_LOST 0xFFFF    /* the daemon gives the link up and exits */

/*
 * Programming button: one byte for each message. After a press that was made before the daemon ran, the pressed byte
 * comes three times.
 */
#define ORVEL_PROG_BUTTON_QUEUE "/progButton" /* unless the daemon was given other names */
#define ORVEL_PROG_BUTTON_MESSAGE_SIZE 1      /* bytes */
#define ORVEL_PROG_BUTTON_QUEUE_CAPACITY 6    /* messages; a message that finds the queue full is dropped */
#define ORVEL_PROG_BUTTON_PRESSED 0x00        /* inverted: 0 is pressed */
#define ORVEL_PROG_BUTTON_RELEASED 0x01

#endif
