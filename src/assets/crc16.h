// CRC-16 with the polynomial x^16 + x^15 + x^2 + 1 (0x8005), most
// significant bit first, no final inversion: the check words of AC3
// syncframes (crc1, crc2) and of MPEG audio frames. The audio scanner runs
// it over every byte of a stream, so on x86-64 processors with carry-less
// multiplication it folds 64 or 256 bytes a step; elsewhere it goes a byte
// a step through a table. All ways give the same value for every input.
#pragma once

#include <cstdint>
#include <span>

namespace kestrova {

// The register after `bytes`, starting from `state` (0 for AC3). A frame
// whose check word is the last two bytes of the range gives 0 when whole.
std::uint16_t Crc16(std::uint16_t state, std::span<const std::uint8_t> bytes);

// The widest way this processor allows: 0 a byte a step, 1 folding in
// 128-bit registers, 2 in 512-bit ones.
int Crc16Widest();

// Crc16 computed one given way (at most Crc16Widest()), for the tests that
// hold the folded ways to the byte-wise one.
std::uint16_t Crc16With(int width, std::uint16_t state, std::span<const std::uint8_t> bytes);

}  // namespace kestrova
