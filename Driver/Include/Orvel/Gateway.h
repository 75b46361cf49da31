/*
 * What an application needs to share the bus with others through the gateway, beside Orvel/Protocol.h. Valid C and C++;
 * depends on nothing.
 *
 * Connect a socket (AF_UNIX, SOCK_SEQPACKET) to ORVEL_GATEWAY_SOCKET. Each packet is one message, byte for byte as in the
 * daemon's queues: a size byte and that many bytes of a frame, from the link also the link state message. What a program
 * sends must be valid for "/cemiToLL". What it receives has up to ORVEL_CEMI_MESSAGE_SIZE bytes.
 *
 * The first packet that a program receives is the present state of the link. While no daemon runs, the link is lost. But a
 * gateway that was started beside the queues of a killed daemon takes it for usable until a daemon comes or it is lost.
 *
 * Each L_Data.req that a program sends is answered by exactly one L_Data.con to it alone, negative if the link refuses it, does
 * not confirm it in time or cannot be used. Negative means: not sent, or nobody knows. After the time is over, it may still have
 * been sent. The time is 3 s unless the gateway was given another one. It runs from when the request is in the daemon's queue. A
 * request that waits for its turn is refused when the link has confirmed nothing at all for as long. Everybody else receives a
 * confirmed request as an L_Data.ind. Answers to all other frames go to everybody.
 *
 * If the gateway ends, the connection does: connect again, as long as it takes.
 */
#ifndef ORVEL_GATEWAY_H
#define ORVEL_GATEWAY_H

#define ORVEL_GATEWAY_SOCKET "/run/orvel/gateway" /* unless the gateway was given another one */

/*
 * The gateway's own messages have the layout of a frame message; the code in their second byte tells them apart. Skip those
 * whose code you do not know.
 */

/* Programming button: 0x02, code, the byte of the button's queue. After a press since boot it comes three times. */
#define ORVEL_GATEWAY_BUTTON_CODE 0xBA
#define ORVEL_GATEWAY_BUTTON_MESSAGE_SIZE 3 /* bytes, size byte included */

/*
 * Lost: 0x03, code, number high byte, number low byte. So many messages had no room in this program's buffer because it
 * did not read them in time. It comes where they are missing. 65,535 means as many or more. Changes of the link can
 * be among them. The present state comes behind, as soon as there is room, only if it differs from the last one that this
 * program has been given. So treat this message like a link that has become usable again: ask your devices anew.
 */
#define ORVEL_GATEWAY_LOST_CODE 0xBB
#define ORVEL_GATEWAY_LOST_MESSAGE_SIZE 4 /* bytes, size byte included */

#define ORVEL_GATEWAY_REQUESTS 64   /* a program's requests that wait for the link; then its packets are not read */
#define ORVEL_GATEWAY_MESSAGES 1024 /* messages that wait for a program; then the newest are lost */

#endif
