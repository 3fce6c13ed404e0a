#pragma once

// Stands in for the target's header: see sys/sysctl.h beside it.

#include <cstdint>

#define AF_LINK 18

struct sockaddr_dl {
    uint8_t sdl_len;
    uint8_t sdl_family;
    uint16_t sdl_index;
    uint8_t sdl_type, sdl_nlen, sdl_alen, sdl_slen;
    char sdl_data[12];
};
