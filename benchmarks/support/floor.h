#pragma once

#include <tarnwick/data/glimmet/function_stats.h>
#include <tarnwick/data/glimmet/storage_entry.h>
#include <tarnwick/data/php/function.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <new>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace tarnwick::bench {

/// Lower bound of the cost of a record: its allocations and its conversions of bytes, without a structure around them.
/// Allocated memory is kept in flat, reused stores and freed at once.
class Floor {
public:
    Floor()
    {
        blocks_.reserve(room);
        strings_.reserve(room);
        byte_arrays_.reserve(room);
        texts_.reserve(room);
        tables_.reserve(room);
    }
    Floor(Floor const &) = delete;
    Floor &operator=(Floor const &) = delete;
    ~Floor() { release(); }

    /// Allocates memory for a payload or for an array of known size; none for a size of 0.
    void block(std::size_t size)
    {
        if (size != 0)
            blocks_.push_back(::operator new(size));
    }

    /// Allocates an ordered table of pointers by id, whose look-ups are part of the lower bound.
    using Table = std::map<unsigned int, void *>;
    Table &table()
    {
        block(counts + sizeof(Table));
        return tables_.emplace_back();
    }

    /// Looks up an id in such a table.
    void link(Table const &table, unsigned int id)
    {
        auto const found = table.find(id);
        link_ = found == table.end() ? nullptr : found->second;
    }

    /// Allocates a list of pointers of known size.
    void pointer_list(int elements)
    {
        if (elements != 0)
            block(sizeof(QArrayData) + static_cast<std::size_t>(elements) * sizeof(void *));
    }

    /// Copies bytes, in the two forms that records have.
    void string(std::string_view bytes) { strings_.emplace_back(bytes); }
    void byte_array(std::string const &bytes) { byte_arrays_.push_back(QByteArray::fromStdString(bytes)); }

    /// Converts UTF-8 to UTF-16.
    void text(std::string const &bytes)
    {
        texts_.push_back(QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size())));
    }

    /// Allocates a list of elements of the size of `Element` that grows as it is filled, including moves.
    template <class Element>
    void list(int elements)
    {
        auto &list = std::get<Lists<Element>>(lists_).lists.emplace_back();
        while (list.size() < elements) {
            list.emplaceBack();
            list.resizeForOverwrite(std::min<qsizetype>(list.capacity(), elements));
        }
    }

    void release()
    {
        for (auto *block : blocks_)
            ::operator delete(block);
        blocks_.clear();
        strings_.clear();
        byte_arrays_.clear();
        texts_.clear();
        tables_.clear();
        std::apply([](auto &...lists) { (lists.lists.clear(), ...); }, lists_);
    }

private:
    static constexpr std::size_t room = 1U << 20U;
    /// Size of the reference counts that precede a shared table.
    static constexpr std::size_t counts = 8;

    template <class Element>
    struct Lists {
        struct alignas(Element) Bytes {
            std::array<std::byte, sizeof(Element)> bytes;
        };
        std::vector<QList<Bytes>> lists;
    };

    std::vector<void *> blocks_;
    std::vector<std::string> strings_;
    std::vector<QByteArray> byte_arrays_;
    std::vector<QString> texts_;
    std::vector<Table> tables_;
    void *volatile link_ = nullptr;
    std::tuple<Lists<void *>, Lists<QByteArray>, Lists<data::php::Function>, Lists<data::glimmet::FunctionStats>,
               Lists<data::glimmet::detail::StorageEntry>>
        lists_;
};

} // namespace tarnwick::bench
