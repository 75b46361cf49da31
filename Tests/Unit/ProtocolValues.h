#pragma once

#ifdef __cplusplus
extern "C"
{
#endif

    /* The public protocol header as one of the two languages sees it. */
    struct ProtocolValues
    {
        const char* cemiToLlQueue;
        const char* cemiFromLlQueue;
        const char* progButtonQueue;
        int cemiMessageSize;
        int cemiQueueCapacity;
        int cemiMaxFrameToLl;
        int cemiMaxFrameFromLl;
        int linkStateCode;
        int linkStateMessageSize;
        int linkStateUsable;
        int linkStateLost;
        int progButtonMessageSize;
        int progButtonQueueCapacity;
        int progButtonPressed;
        int progButtonReleased;
    };

#define PROTOCOL_VALUES                                                                                                \
    {                                                                                                                  \
        ORVEL_CEMI_TO_LL_QUEUE, ORVEL_CEMI_FROM_LL_QUEUE, ORVEL_PROG_BUTTON_QUEUE, ORVEL_CEMI_MESSAGE_SIZE,            \
            ORVEL_CEMI_QUEUE_CAPACITY, ORVEL_CEMI_MAX_FRAME_TO_LL, ORVEL_CEMI_MAX_FRAME_FROM_LL,                       \
            ORVEL_LINK_STATE_CODE, ORVEL_LINK_STATE_MESSAGE_SIZE, ORVEL_LINK_STATE_USABLE, ORVEL_LINK_STATE_LOST,      \
            ORVEL_PROG_BUTTON_MESSAGE_SIZE, ORVEL_PROG_BUTTON_QUEUE_CAPACITY, ORVEL_PROG_BUTTON_PRESSED,               \
            ORVEL_PROG_BUTTON_RELEASED                                                                                 \
    }

    extern const struct ProtocolValues ProtocolAsC;

#ifdef __cplusplus
}
#endif
