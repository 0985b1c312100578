/*
 * A thin owner of one SQLite connection for the device database: statements with bound values
 * (never values pasted into SQL text), transactions, and the connection's last error as text.
 * Not thread-safe: the device database serialises its use.
 */
#ifndef PLATFORM_DEVICE_DEVICE_SQLITE_H
#define PLATFORM_DEVICE_DEVICE_SQLITE_H

#include <cstdint>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace OHOS::Host {

class DeviceSqlite {
public:
    // One prepared statement, finalised when it goes. An invalid statement (a failed Prepare)
    // answers SQLITE_MISUSE to every Step.
    class Statement {
    public:
        Statement() = default;
        ~Statement();
        Statement(Statement&& other) noexcept;
        Statement& operator=(Statement&& other) noexcept;
        Statement(const Statement&) = delete;
        Statement& operator=(const Statement&) = delete;

        bool Valid() const { return stmt_ != nullptr; }
        // Placeholders count from 1, as in SQLite.
        Statement& Bind(int index, int64_t value);
        Statement& Bind(int index, const std::string& value);
        // SQLITE_ROW, SQLITE_DONE or an error code.
        int Step();
        // Steps once more for a statement that returns no row: SQLITE_DONE or an error code.
        int Run();
        // Ready for the next Bind/Step with the same text.
        void Reset();

        int64_t Int(int column) const;
        std::string Text(int column) const;
        bool IsNull(int column) const;
        // Whether the column holds an integer as stored; ask before Int or Text, which convert it.
        bool IsInteger(int column) const;

    private:
        friend class DeviceSqlite;
        explicit Statement(sqlite3_stmt* stmt) : stmt_(stmt) {}
        sqlite3_stmt* stmt_ = nullptr;
    };

    DeviceSqlite() = default;
    ~DeviceSqlite();
    DeviceSqlite(const DeviceSqlite&) = delete;
    DeviceSqlite& operator=(const DeviceSqlite&) = delete;

    // Opens (creating when missing) the file read-write. An SQLite code; the connection is closed
    // again when it fails.
    int Open(const std::string& path);
    void Close();
    bool IsOpen() const { return db_ != nullptr; }

    // Runs statements without values (schema, pragmas, transaction control). An SQLite code.
    int Exec(const std::string& sql);
    // Invalid when the text does not compile; LastCode and LastMessage tell why.
    Statement Prepare(const std::string& sql);
    // The first column of the first row of a query without values; `code` is SQLITE_OK when a
    // row came back.
    int64_t QueryInt(const std::string& sql, int& code);
    std::string QueryText(const std::string& sql, int& code);

    int Begin() { return Exec("BEGIN IMMEDIATE"); }
    int Commit() { return Exec("COMMIT"); }
    // Leaves a failed transaction; a no-op outside of one.
    void Rollback();

    // The last error of the connection: its extended code, and a text that names it.
    int LastCode() const;
    std::string LastMessage() const;

private:
    sqlite3* db_ = nullptr;
};

}  // namespace OHOS::Host

#endif  // PLATFORM_DEVICE_DEVICE_SQLITE_H
