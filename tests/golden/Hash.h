#pragma once

#include "Velkori_Utility.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using Transforms = std::vector<velkori_Transform_>;

// FNV-1a of 64 bits over what a stage puts out. Numbers go in by their bits, lowest byte first, and records
// field by field, so that neither the processor's byte order nor padding matters. Nothing is rounded: -0
// differs from 0.
class Hash {
  public:
    template <typename... Fields>
    void Add(const Fields&... fields) {
        (AddOne(fields), ...);
    }

    void AddBytes(const std::uint8_t* data, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            value = (value ^ data[i]) * 1099511628211U;
        }
        isEmpty = isEmpty && count == 0;
    }

    std::uint64_t Value() const { return value; }

    bool IsEmpty() const { return isEmpty; }

    // There is none in a sound result, and its bits would differ from processor to processor.
    bool HoldsNaN() const { return holdsNaN; }

  private:
    void AddWord(std::uint64_t word, int size) {
        for (int i = 0; i < size; ++i) {
            const auto byte = static_cast<std::uint8_t>(word >> (8 * i));
            AddBytes(&byte, 1);
        }
    }

    void AddOne(std::uint32_t word) { AddWord(word, 4); }

    void AddOne(std::uint64_t word) { AddWord(word, 8); }

    // Enumerations too: in this interface they are signed integers of 32 bits.
    void AddOne(std::int32_t number) { AddOne(static_cast<std::uint32_t>(number)); }

    void AddOne(float number) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        AddWord(bits, 4);
        holdsNaN = holdsNaN || (bits & 0x7FFFFFFFU) > 0x7F800000U;
    }

    void AddOne(double number) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        AddWord(bits, 8);
        holdsNaN = holdsNaN || (bits & 0x7FFFFFFFFFFFFFFFU) > 0x7FF0000000000000U;
    }

    // With its end, so that "ab", "c" differs from "a", "bc".
    void AddOne(const std::string& text) {
        for (const char c : text) {
            AddWord(static_cast<std::uint8_t>(c), 1);
        }
        AddWord(0, 1);
    }

    void AddOne(const velkori_Vector3f_& v) { Add(v.x, v.y, v.z); }

    void AddOne(const velkori_Transform_& t) {
        Add(t.orientation.x, t.orientation.y, t.orientation.z, t.orientation.w, t.position, t.scale);
    }

    void AddOne(const velkori_JointMapping_& m) { Add(m.jointIndex, m.type, m.behavior, m.entryCount); }

    void AddOne(const velkori_JointMappingEntry_& e) {
        Add(e.jointIndex, e.rotationWeight, e.positionWeight);
    }

    void AddOne(const velkori_PoseExtents_& extents) { Add(extents.min, extents.max, extents.range); }

    void AddOne(const velkori_FrameData_& d) {
        Add(std::int32_t{d.header}, d.timestamp, std::int32_t{d.flag0}, d.weight, std::int32_t{d.value0});
        Add(std::int32_t{d.value1}, std::int32_t{d.flag1}, std::int32_t{d.flag2}, d.value2);
        Add(d.tracker0, d.tracker1, d.tracker2);
    }

    template <typename T>
    void AddOne(const std::vector<T>& list) {
        Add(static_cast<std::uint32_t>(list.size()));
        for (const T& element : list) {
            Add(element);
        }
    }

    std::uint64_t value = 14695981039346656037U;
    bool isEmpty = true;
    bool holdsNaN = false;
};
