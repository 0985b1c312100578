#ifndef INTERFACES_PARCEL_UTILS_H
#define INTERFACES_PARCEL_UTILS_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

// The list forms that the stub and the proxy of the service interface share (interfaces/WIRE.md):
//
// - a list of records: int32 count, then each record as a parcelable (int32 1, then its fields);
// - a set of strings: int32 count, then each string, in the set's iteration order (the form of a
//   string vector, so a client may send duplicates; they collapse on reading).
//
// Writes are all or nothing: a list that does not fit leaves the parcel as it was. Reads refuse a
// negative count or one that the remaining bytes cannot hold before anything is allocated for it,
// and leave the output untouched on failure.
class ParcelUtils {
public:
    ParcelUtils() = delete;

    template <typename T>
    static bool WriteParcelableList(OHOS::Parcel& parcel, const std::vector<T>& items)
    {
        if (items.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
            return false;
        }
        const size_t start = parcel.GetWritePosition();
        bool written = parcel.WriteInt32(static_cast<int32_t>(items.size()));
        for (auto it = items.begin(); written && it != items.end(); ++it) {
            written = parcel.WriteParcelable(&*it);
        }
        if (!written) {
            parcel.RewindWrite(start);
        }
        return written;
    }

    template <typename T>
    static bool ReadParcelableList(OHOS::Parcel& parcel, std::vector<T>& items)
    {
        int32_t count = 0;
        if (!ReadCount(parcel, MIN_RECORD_BYTES, count)) {
            return false;
        }
        std::vector<T> read;
        read.reserve(static_cast<size_t>(count));
        for (int32_t i = 0; i < count; ++i) {
            std::unique_ptr<T> item(parcel.ReadParcelable<T>());
            if (item == nullptr) {
                return false;
            }
            read.push_back(*item);
        }
        items = std::move(read);
        return true;
    }

    static bool WriteStringSet(OHOS::Parcel& parcel, const std::unordered_set<std::string>& strings)
    {
        if (strings.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
            return false;
        }
        const size_t start = parcel.GetWritePosition();
        bool written = parcel.WriteInt32(static_cast<int32_t>(strings.size()));
        for (auto it = strings.begin(); written && it != strings.end(); ++it) {
            written = parcel.WriteString(*it);
        }
        if (!written) {
            parcel.RewindWrite(start);
        }
        return written;
    }

    static bool ReadStringSet(OHOS::Parcel& parcel, std::unordered_set<std::string>& strings)
    {
        std::vector<std::string> read;
        if (!parcel.ReadStringVector(&read)) {
            return false;
        }
        strings =
            std::unordered_set<std::string>(std::make_move_iterator(read.begin()), std::make_move_iterator(read.end()));
        return true;
    }

private:
    // The fewest bytes a record of a list takes: its presence word and at least one word of fields.
    static constexpr size_t MIN_RECORD_BYTES = 8;

    static bool ReadCount(OHOS::Parcel& parcel, size_t minItemBytes, int32_t& count)
    {
        const size_t start = parcel.GetReadPosition();
        if (!parcel.ReadInt32(count)) {
            return false;
        }
        if (count < 0 || static_cast<size_t>(count) > parcel.GetReadableBytes() / minItemBytes) {
            parcel.RewindRead(start);
            return false;
        }
        return true;
    }
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer

#endif  // INTERFACES_PARCEL_UTILS_H
