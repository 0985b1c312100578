/*
 * The outcome of a device-state operation (opening the device database, loading a profile,
 * booting the device): a code a program can act on and a text a person can act on.
 */
#ifndef PLATFORM_DEVICE_DEVICE_RESULT_H
#define PLATFORM_DEVICE_DEVICE_RESULT_H

#include <cstdint>
#include <string>
#include <utility>

namespace OHOS::Host {

enum class DeviceError : int32_t {
    OK = 0,
    // The database is open already, or another database is attached to the device's services.
    ALREADY_OPEN = 1,
    // The file (or its directory) cannot be opened or created.
    CANNOT_OPEN = 2,
    // The file is not an SQLite database, or it is damaged.
    NOT_A_DATABASE = 3,
    // An SQLite database of some other program.
    FOREIGN_DATABASE = 4,
    // A device database written by a newer version of the host, whose layout this one does not know.
    NEWER_SCHEMA = 5,
    // A read or a write of the database failed.
    IO_ERROR = 6,
    // A service refused the state the database holds (it contradicts itself).
    RESTORE_REFUSED = 7,
    // The profile cannot be read.
    PROFILE_UNREADABLE = 8,
    // The profile is not valid JSON or does not describe a valid device.
    PROFILE_INVALID = 9,
    // The device refused what the profile describes (it conflicts with the device's state).
    PROFILE_REFUSED = 10,
};

struct DeviceResult {
    DeviceError error = DeviceError::OK;
    std::string message;

    bool Ok() const { return error == DeviceError::OK; }
    int32_t Code() const { return static_cast<int32_t>(error); }

    static DeviceResult Success() { return {}; }
    static DeviceResult Fail(DeviceError error, std::string message) { return {error, std::move(message)}; }

    // Stored text as a message shows it: quoted, its first 64 bytes with what is not printable
    // ASCII escaped, and its length when it is longer (a damaged file may hold anything).
    static std::string Shown(const std::string& text)
    {
        constexpr size_t SHOWN = 64;
        static const char HEX[] = "0123456789ABCDEF";
        std::string shown = "'";
        for (size_t i = 0; i < text.size() && i < SHOWN; ++i) {
            const auto c = static_cast<unsigned char>(text[i]);
            if (c >= 0x20 && c < 0x7F && c != '\\' && c != '\'') {
                shown += static_cast<char>(c);
            } else {
                shown += std::string("\\x") + HEX[c >> 4] + HEX[c & 0xF];
            }
        }
        return shown + (text.size() > SHOWN ? "...' (" + std::to_string(text.size()) + " bytes)" : "'");
    }
};

}  // namespace OHOS::Host

#endif  // PLATFORM_DEVICE_DEVICE_RESULT_H
