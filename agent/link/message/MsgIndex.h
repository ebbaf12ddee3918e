#pragma once

#include <boost/container/static_vector.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <memory_resource>
#include <vector>

// Where one item stands in a message.
struct MsgItem
{
    std::uint32_t id;
    std::uint32_t type;
    std::uint32_t length; // of the value, in bytes
    std::uint32_t offset; // of the value, from the start of the message
};

// All items of a message: an ordered map from item id to the items of that id in order of their arrival. As
// long as there are few, which is nearly always, they stand in a row in the object itself: that needs no
// memory and is found faster than in any map. May throw std::bad_alloc.
class MsgIndex
{
public:
    MsgIndex() = default;
    ~MsgIndex() = default;

    MsgIndex(const MsgIndex&) = delete;
    MsgIndex& operator=(const MsgIndex&) = delete;

    void Clear()
    {
        m_few.clear();
        m_many.reset();
    }

    void Add(const MsgItem& item)
    {
        if (m_many == nullptr && m_few.size() < fewItems)
        {
            m_few.push_back(item);
        }
        else
        {
            AddToMany(item);
        }
    }

    // Weak. The first item of that id; null if there is none.
    [[nodiscard]] const MsgItem* First(std::uint32_t id) const
    {
        for (const MsgItem& item : m_few)
        {
            if (item.id == id)
            {
                return &item;
            }
        }
        return m_many == nullptr ? nullptr : FirstOfMany(id);
    }

private:
    // Its nodes come from larger pieces, and go with them.
    struct Many
    {
        std::pmr::monotonic_buffer_resource memory;
        std::pmr::map<std::uint32_t, std::pmr::vector<MsgItem>> items{&memory};
    };

    void AddToMany(const MsgItem& item);
    [[nodiscard]] const MsgItem* FirstOfMany(std::uint32_t id) const;

    static constexpr std::size_t fewItems = 16;
    boost::container::static_vector<MsgItem, fewItems> m_few; // empty once there are many
    std::unique_ptr<Many> m_many;
};
