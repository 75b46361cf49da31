/* The header for applications, as the oldest C compilers see it. */
#include "HeaderC.h"

#include "Orvel/Gateway.h"

const char* const SocketInC = ORVEL_GATEWAY_SOCKET;
const int CodesInC[2] = {ORVEL_GATEWAY_BUTTON_CODE, ORVEL_GATEWAY_LOST_CODE};
const int SizesInC[2] = {ORVEL_GATEWAY_BUTTON_MESSAGE_SIZE, ORVEL_GATEWAY_LOST_MESSAGE_SIZE};
const int BoundsInC[2] = {ORVEL_GATEWAY_REQUESTS, ORVEL_GATEWAY_MESSAGES};
