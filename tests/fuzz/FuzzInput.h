#pragma once

#include "Velkori_Utility.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

// Turns a fuzzer's bytes into the choices of a host. A byte of zero is always the tame choice, and so is what
// lies beyond the end: a sequence of exports with zeros behind each is a host that does nothing wrong.
class FuzzInput {
  public:
    FuzzInput(const std::uint8_t* bytes, std::size_t byteCount) : data(bytes), size(byteCount) {}

    bool IsAtEnd() const { return position >= size; }

    std::uint8_t Byte() { return IsAtEnd() ? std::uint8_t{0} : data[position++]; }

    bool Flag() { return (Byte() & 1) != 0; }

    // A small number, or one of those at which code breaks.
    std::int32_t Number() {
        constexpr std::int32_t Special[] = {-1, -2, std::numeric_limits<std::int32_t>::min(),
            std::numeric_limits<std::int32_t>::max(), 254, 255, 800, 1 << 20};
        const std::uint8_t choice = Byte();
        return choice < 240 ? choice : Special[choice % 8];
    }

    float Real(float tame) {
        switch (Byte()) {
        case 1:
            return std::numeric_limits<float>::quiet_NaN();
        case 2:
            return std::numeric_limits<float>::infinity();
        case 3:
            return -std::numeric_limits<float>::infinity();
        case 4:
            return 3e38F;
        case 5:
            return -1e30F;
        case 6:
            return 1e-42F;
        case 7:
            return 0.0F;
        case 8: {
            std::uint8_t raw[4] = {Byte(), Byte(), Byte(), Byte()};
            float value = 0.0F;
            std::memcpy(&value, raw, sizeof value);
            return value;
        }
        case 9:
            return static_cast<float>(static_cast<std::int8_t>(Byte())) / 16.0F;
        default:
            return tame;
        }
    }

    template <typename Enum>
    Enum Choice(Enum tame) {
        const std::uint8_t choice = Byte();
        return choice == 0 ? tame : static_cast<Enum>(static_cast<std::int8_t>(choice));
    }

    velkori_Vector3f_ Vector(const velkori_Vector3f_& tame) {
        return Flag() ? velkori_Vector3f_{Real(tame.x), Real(tame.y), Real(tame.z)} : tame;
    }

    velkori_Transform_ Transform(velkori_Transform_ tame) {
        if (Flag()) {
            tame.orientation = {Real(tame.orientation.x), Real(tame.orientation.y), Real(tame.orientation.z),
                Real(tame.orientation.w)};
            tame.position = Vector(tame.position);
            tame.scale = Vector(tame.scale);
        }
        return tame;
    }

    velkori_CoordinateSpace_ Space() {
        constexpr velkori_CoordinateSpace_ Tame = VELKORI_DEFAULT_COORDINATE_SPACE;
        return {Vector(Tame.up), Vector(Tame.forward), Vector(Tame.right)};
    }

  private:
    const std::uint8_t* data;
    std::size_t size;
    std::size_t position = 0;
};
