// The 1-based ordered list every record of the job lives in. Position is
// meaningful (a domain, a VOB id, a cell id, a PGC number), so records are
// always reached by index; an index outside 1..Count() is a programming
// fault and throws rather than reading past the end. Records are held by
// pointer, so a reference stays valid while more are added and a record may
// own lists of records that are declared after it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/error.h"

namespace kestrova {

template <typename Record>
class Collection {
public:
    Collection() = default;
    Collection(Collection&&) noexcept = default;
    Collection& operator=(Collection&&) noexcept = default;
    Collection(const Collection& other) { CopyFrom(other); }
    Collection& operator=(const Collection& other) {
        if (this != &other) {
            items_.clear();
            CopyFrom(other);
        }
        return *this;
    }

    // Appends a record and returns it, as the lists' Add does; the fields
    // are the caller's to set on the returned reference.
    Record& Add(Record record = Record{}) {
        items_.push_back(std::make_unique<Record>(std::move(record)));
        return *items_.back();
    }

    Record& Item(std::size_t index) { return *items_[Checked(index)]; }
    const Record& Item(std::size_t index) const { return *items_[Checked(index)]; }

    std::size_t Count() const { return items_.size(); }

    void Remove(std::size_t index) { items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(Checked(index))); }

    void Clear() { items_.clear(); }

    template <typename Base>
    class Iterator {
    public:
        using Inner = decltype(std::declval<Base&>().begin());
        explicit Iterator(Inner inner) : inner_(inner) {}
        auto& operator*() const { return **inner_; }
        auto* operator->() const { return inner_->get(); }
        Iterator& operator++() {
            ++inner_;
            return *this;
        }
        bool operator==(const Iterator& other) const { return inner_ == other.inner_; }

    private:
        Inner inner_;
    };

    auto begin() { return Iterator<Items>(items_.begin()); }
    auto end() { return Iterator<Items>(items_.end()); }
    auto begin() const { return Iterator<const Items>(items_.begin()); }
    auto end() const { return Iterator<const Items>(items_.end()); }

private:
    using Items = std::vector<std::unique_ptr<Record>>;

    void CopyFrom(const Collection& other) {
        items_.reserve(other.items_.size());
        for (const auto& item : other.items_) items_.push_back(std::make_unique<Record>(*item));
    }

    std::size_t Checked(std::size_t index) const {
        if (index < 1 || index > items_.size()) {
            throw Error("List index " + std::to_string(index) + " is outside 1.." + std::to_string(items_.size()));
        }
        return index - 1;
    }

    Items items_;
};

}  // namespace kestrova
