#include "Orvel/Protocol.h"

#include "ProtocolValues.h"

const struct ProtocolValues ProtocolAsC = PROTOCOL_VALUES;
