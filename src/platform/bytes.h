// Numbers as they stand in files, at any address; `bytes` must hold as many as the number has.
#pragma once

#include <cstdint>

inline std::uint32_t ReadLittle16(const std::uint8_t* bytes) {
    return bytes[0] | (std::uint32_t{bytes[1]} << 8);
}

inline std::uint32_t ReadLittle24(const std::uint8_t* bytes) {
    return ReadLittle16(bytes) | (std::uint32_t{bytes[2]} << 16);
}

inline std::uint32_t ReadLittle32(const std::uint8_t* bytes) {
    return ReadLittle16(bytes) | (ReadLittle16(bytes + 2) << 16);
}

inline std::uint32_t ReadBig32(const std::uint8_t* bytes) {
    return (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) | (std::uint32_t{bytes[2]} << 8) |
           bytes[3];
}

inline std::uint64_t ReadBig64(const std::uint8_t* bytes) {
    return (std::uint64_t{ReadBig32(bytes)} << 32) | ReadBig32(bytes + 4);
}

inline void WriteLittle32(std::uint8_t* bytes, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}
