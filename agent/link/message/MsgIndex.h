#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory_resource>
#include <optional>
#include <vector>

// Where one item stands in a message.
struct MsgItem
{
    std::uint32_t id = 0;
    std::uint32_t type = 0;
    std::uint32_t length = 0; // of the value, in bytes
    std::uint32_t offset = 0; // of the value, from the start of the message
};

// All items of a message: an ordered map from item id to the items of that id in order of their arrival. The
// entries of a small message lie in the object itself, which spares two allocations an item. May throw
// std::bad_alloc.
class MsgIndex
{
public:
    MsgIndex() = default;
    ~MsgIndex() = default;

    MsgIndex(const MsgIndex&) = delete;
    MsgIndex& operator=(const MsgIndex&) = delete;

    void Clear();
    void Add(const MsgItem& item);

    // Weak. The first item of that id; null if there is none.
    [[nodiscard]] const MsgItem* First(std::uint32_t id) const;

private:
    using Map = std::pmr::map<std::uint32_t, std::pmr::vector<MsgItem>>;

    alignas(std::max_align_t) std::byte m_storage[1024]{};
    std::pmr::monotonic_buffer_resource m_memory{m_storage, sizeof m_storage};
    std::optional<Map> m_items{std::in_place, &m_memory};
};
