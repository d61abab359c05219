// The 1-based ordered list every record of the job lives in. Position is
// meaningful (a domain, a VOB id, a cell id, a PGC number), so records are
// always reached by index; an index outside 1..Count() is a programming
// fault and throws rather than reading past the end.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <utility>

#include "platform/error.h"

namespace kestrova {

template <typename Record>
class Collection {
public:
    // Appends a record and returns it, as the lists' Add does; the fields
    // are the caller's to set on the returned reference.
    Record& Add(Record record = Record{}) {
        items_.push_back(std::move(record));
        return items_.back();
    }

    Record& Item(std::size_t index) { return items_[Checked(index)]; }
    const Record& Item(std::size_t index) const { return items_[Checked(index)]; }

    std::size_t Count() const { return items_.size(); }

    void Remove(std::size_t index) { items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(Checked(index))); }

    void Clear() { items_.clear(); }

    auto begin() { return items_.begin(); }
    auto end() { return items_.end(); }
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }

private:
    std::size_t Checked(std::size_t index) const {
        if (index < 1 || index > items_.size()) {
            throw Error("List index " + std::to_string(index) + " is outside 1.." + std::to_string(items_.size()));
        }
        return index - 1;
    }

    // A deque keeps references to earlier records valid while more are added.
    std::deque<Record> items_;
};

}  // namespace kestrova
