#ifndef HEADER_C_H
#define HEADER_C_H

/* What Orvel/Gateway.h says to C. */

#ifdef __cplusplus
extern "C"
{
#endif
    extern const char* const SocketInC;
    extern const int CodesInC[2];
    extern const int SizesInC[2];
    extern const int BoundsInC[2];
#ifdef __cplusplus
}
#endif

#endif
