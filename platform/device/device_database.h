/*
 * The device database: the state of the device's platform services (users, tokens and their
 * permission states, installed bundles, disposed statuses, usage records, parameters) in one
 * SQLite file, so that a host restart, or a kill, loses nothing that a caller was told was done.
 *
 * The file is SQLite used directly (not through our relational store): its writer is the
 * services' listeners, which need their own transactions and pragmas, and nothing of the store's
 * interface would be of use. The file runs in WAL mode with synchronous=NORMAL: a committed
 * transaction is in the write-ahead log when COMMIT returns, so it survives the death of the
 * process (not a power cut). Its layout carries an application id and a version
 * (PRAGMA application_id, user_version), checked on every open.
 *
 * Once open, the database is attached to the services: each change a service makes is committed
 * (one transaction per change) by that service's listener, before the call that made the change
 * returns to its caller. A change is what its caller asked for as a whole: an installation with
 * its token, an uninstallation with its token and usage records, the records of one bulk add.
 * An installation the file cannot take is refused (the installer undoes it); any other write that
 * fails is rolled back, counted and logged, and its change stays in memory only. One database at
 * a time is attached in a process.
 *
 * Fault points for tests: "DeviceDatabase::WriteBundle" and "DeviceDatabase::DeleteToken" (an
 * armed code fails that write, and so its transaction: the second write of an installation and of
 * an uninstallation).
 *
 * Known limits, by what the services tell their listeners: records that PrivacyRecordService
 * removes by itself (RemoveRecordsOfToken, ClearRecords) stay in the file until their token is
 * deleted; Reset of a service is not observed.
 *
 * Write-throughs run on the threads that change the services, serialised by the database. Open,
 * Provision and Close belong to one thread (the host's start and stop).
 */
#ifndef PLATFORM_DEVICE_DEVICE_DATABASE_H
#define PLATFORM_DEVICE_DEVICE_DATABASE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/device/device_result.h"
#include "platform/device/device_snapshot.h"

namespace OHOS::Host {

class DeviceDatabase {
public:
    // Provisions the services (a profile, a test's device). Runs with write-through suspended.
    using Provisioner = std::function<DeviceResult()>;

    // The layout this host writes and reads.
    static constexpr int32_t SCHEMA_VERSION = 1;
    // Where the daemon keeps its device: a device path, resolved under the data root.
    static constexpr const char* DEVICE_PATH = "/data/host/device.db";

    DeviceDatabase();
    // Closes the database.
    ~DeviceDatabase();
    DeviceDatabase(const DeviceDatabase&) = delete;
    DeviceDatabase& operator=(const DeviceDatabase&) = delete;

    // Opens the database file at `path` (a host path), creating it and its directories when
    // missing, and attaches it to the services.
    // - A file that holds a device: the services are made to hold exactly that device (see
    //   DeviceSnapshot::Restore); nothing is written back while they are.
    // - A new file: `provisionIfNew`, when given, provisions the services; then the device as the
    //   services hold it is written in one transaction. When the provisioner fails, nothing of the
    //   device is written and the database is closed again with its error.
    // Errors: ALREADY_OPEN, CANNOT_OPEN, NOT_A_DATABASE (not SQLite, damaged, or a device
    // database without its tables), FOREIGN_DATABASE, NEWER_SCHEMA, IO_ERROR, RESTORE_REFUSED;
    // on any error the database is closed and the services' listeners are left unset.
    DeviceResult Open(const std::string& path, const Provisioner& provisionIfNew = nullptr);
    // True when the last successful Open restored the device from the file; false when the file
    // was new.
    bool Restored() const { return restored_; }

    // Runs `provision` with write-through suspended, then writes the whole device in one
    // transaction, so that the file holds exactly what the services hold (a bulk load). The
    // caller keeps other threads from changing the device meanwhile. IO_ERROR when not open.
    DeviceResult Provision(const Provisioner& provision);

    // The device as the file holds it.
    DeviceResult Read(DeviceSnapshot& snapshot) const;

    // Detaches from the services (later changes stay in memory only) and closes the file.
    void Close();
    bool IsOpen() const;
    const std::string& Path() const { return path_; }

    // Write-throughs that failed since Open (each is logged; its change stays in memory only),
    // and the text of the last one.
    size_t WriteFailures() const;
    std::string LastWriteError() const;

private:
    struct Link;

    DeviceResult OpenFile(const std::string& path);
    // Writes the device as the services hold it, in one transaction, replacing the file's.
    DeviceResult WriteDeviceLocked();
    void Attach();
    static void DetachAll();

    std::shared_ptr<Link> link_;
    std::string path_;
    bool restored_ = false;
};

}  // namespace OHOS::Host

#endif  // PLATFORM_DEVICE_DEVICE_DATABASE_H
