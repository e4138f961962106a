// Finds a row of a name table by its name: a small hash table that the compiler builds. For the tables of
// record names; part of the library's inside.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "vkcomm/decode/record_names.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::detail {

template <std::size_t Rows>
class NameIndex {
public:
    // The rows must outlive the index.
    constexpr explicit NameIndex(const std::array<KnownName, Rows>& rows) : m_rows(&rows) {
        for (std::size_t row = 0; row < Rows; ++row)
            add(static_cast<std::uint16_t>(row));
    }

    // No name occurs twice.
    constexpr bool isUnique() const { return m_unique; }

    constexpr const KnownName* find(std::string_view name) const {
        const std::uint64_t key = tail(name);
        for (std::size_t slot = firstSlot(key); m_slots[slot].size != 0; slot = next(slot))
            if (holds(m_slots[slot], key, name)) return &(*m_rows)[m_slots[slot].row];
        return nullptr;
    }

private:
    static constexpr std::size_t kTail = sizeof(std::uint64_t);
    static constexpr std::size_t kSlots = std::bit_ceil(2 * Rows);
    static_assert(kSlots <= 0x10000);

    // The last characters of a name and its size settle most comparisons without touching the row.
    struct Slot {
        std::uint64_t key = 0;
        std::uint16_t row = 0;
        std::uint16_t size = 0;  // 0: free
    };

    static constexpr std::uint64_t tail(std::string_view name) {
        if (name.size() > kTail) name.remove_prefix(name.size() - kTail);
        if (!std::is_constant_evaluated())
            return loadLeUpTo8(reinterpret_cast<const unsigned char*>(name.data()), name.size());
        std::uint64_t key = 0;
        for (std::size_t i = 0; i < name.size(); ++i)
            key |= std::uint64_t{static_cast<unsigned char>(name[i])} << 8 * i;
        return key;
    }

    static constexpr std::size_t firstSlot(std::uint64_t key) {
        constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;
        return static_cast<std::uint16_t>(key * kGoldenRatio >> (64 - std::countr_zero(kSlots)));
    }

    static constexpr std::size_t next(std::size_t slot) { return (slot + 1) % kSlots; }

    constexpr bool holds(const Slot& slot, std::uint64_t key, std::string_view name) const {
        if (slot.key != key || slot.size != name.size()) return false;
        return name.size() <= kTail || (*m_rows)[slot.row].name == name;
    }

    constexpr void add(std::uint16_t row) {
        const std::string_view name = (*m_rows)[row].name;
        m_unique = m_unique && !find(name);
        std::size_t slot = firstSlot(tail(name));
        while (m_slots[slot].size != 0)
            slot = next(slot);
        m_slots[slot] = {tail(name), row, static_cast<std::uint16_t>(name.size())};
    }

    const std::array<KnownName, Rows>* m_rows;
    std::array<Slot, kSlots> m_slots{};
    bool m_unique = true;
};

}  // namespace vkcomm::detail
