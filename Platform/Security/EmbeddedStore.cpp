#include "Security/EmbeddedStore.h"

#include <cerrno>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include <sqlite3.h>
#include <sys/stat.h>

#include "Foundation/Releaser.h"

namespace Security {

namespace {

constexpr int lockTimeout = 5000;  // milliseconds

// Every column is a BLOB: SQLite's expressions are undefined for a text with a NUL in it. An item without an
// access group has an empty one. The parameters: service, account, access group (null matches any), data.
#define TESSEL_MATCHING " WHERE service = ?1 AND account = ?2 AND access_group = ifnull(?3, access_group)"
constexpr const char* createTable =
    "CREATE TABLE IF NOT EXISTS items (service BLOB NOT NULL, account BLOB NOT NULL,"
    " access_group BLOB NOT NULL, data BLOB NOT NULL,"
    " PRIMARY KEY (service, account, access_group)) WITHOUT ROWID";
// Not every build of SQLite wipes by itself what is deleted or replaced.
constexpr const char* wipeDeleted = "PRAGMA secure_delete = ON";
constexpr const char* selectItem = "SELECT data FROM items" TESSEL_MATCHING " LIMIT 1";
constexpr const char* updateItems = "UPDATE items SET data = ?4" TESSEL_MATCHING;
constexpr const char* insertItem =
    "INSERT INTO items (service, account, access_group, data) VALUES (?1, ?2, ifnull(?3, x''), ?4)";
constexpr const char* deleteItems = "DELETE FROM items" TESSEL_MATCHING;
#undef TESSEL_MATCHING

// The second close waits for what is still prepared: the two may be let go of in any order.
using Database = std::unique_ptr<sqlite3, Foundation::Releaser<sqlite3_close_v2>>;
using Statement = std::unique_ptr<sqlite3_stmt, Foundation::Releaser<sqlite3_finalize>>;

OSStatus statusForErrno(int error) {
    return error == EACCES || error == EPERM ? errSecAuthFailed : errSecIO;
}

/// The status for what the last call on the database returned.
OSStatus statusFor(sqlite3* database, int result) {
    switch (result) {
        case SQLITE_OK:
            return errSecSuccess;
        case SQLITE_NOMEM:
            throw std::bad_alloc();
        case SQLITE_CONSTRAINT:
            return errSecDuplicateItem;
        case SQLITE_BUSY:
            return errSecNotAvailable;
        case SQLITE_PERM:
        case SQLITE_AUTH:
        case SQLITE_READONLY:
            return errSecAuthFailed;
        case SQLITE_CANTOPEN:
            return statusForErrno(sqlite3_system_errno(database));
        case SQLITE_ERROR:  // the statements are sound, so the file's schema is another
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return errSecDecode;
        default:
            return errSecIO;
    }
}

int bind(sqlite3_stmt* statement, int parameter, const void* bytes, std::size_t length) {
    // A null pointer would bind NULL instead of no bytes.
    return sqlite3_bind_blob64(statement, parameter, length == 0 ? "" : bytes, length, SQLITE_STATIC);
}

/// Takes other users' rights to the file away, where it was not created here. The file is not opened for it:
/// closing a descriptor drops the locks that another thread's SQLite holds on the same file.
OSStatus restrictMode(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || (status.st_mode & 077) == 0) return errSecSuccess;
    return ::chmod(path.c_str(), 0600) == 0 ? errSecSuccess : statusForErrno(errno);
}

/// False for a directory or a device.
bool mayBeStore(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

OSStatus open(const std::string& path, Database& database) {
    if (!mayBeStore(path)) return errSecIO;
    sqlite3* opened = nullptr;
    // Opened for writing even where it is only read: a crashed writer's journal may have to be rolled back.
    // The connection serves one operation at a time, hence no mutex.
    const int result = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    database.reset(opened);
    if (result == SQLITE_CANTOPEN && sqlite3_system_errno(opened) == ENOENT) return errSecItemNotFound;
    if (result == SQLITE_OK) sqlite3_busy_timeout(opened, lockTimeout);
    return statusFor(opened, result);
}

OSStatus prepare(sqlite3* database, const char* sql, Statement& statement) {
    sqlite3_stmt* prepared = nullptr;
    const int result = sqlite3_prepare_v2(database, sql, -1, &prepared, nullptr);
    statement.reset(prepared);
    // A file without the table was made a moment ago, or left so by an add that came no further.
    if (result == SQLITE_ERROR && sqlite3_table_column_metadata(database, nullptr, "items", nullptr, nullptr, nullptr,
                                                                nullptr, nullptr, nullptr) == SQLITE_ERROR)
        return errSecItemNotFound;
    return statusFor(database, result);
}

OSStatus bind(sqlite3_stmt* statement, const GenericPasswordQuery& query) {
    int result = bind(statement, 1, query.service.data(), query.service.size());
    if (result == SQLITE_OK) result = bind(statement, 2, query.account.data(), query.account.size());
    if (result == SQLITE_OK && query.accessGroup)
        result = bind(statement, 3, query.accessGroup->data(), query.accessGroup->size());
    return statusFor(sqlite3_db_handle(statement), result);
}

/// Opens the file and runs the preparation and the statement, which changes items. `data` is null where none is
/// written.
OSStatus change(const std::string& path, const char* preparation, const char* sql, const GenericPasswordQuery& query,
                const Foundation::Data* data) {
    Database database;
    Statement statement;
    OSStatus status = open(path, database);
    if (status == errSecSuccess)
        status = statusFor(database.get(), sqlite3_exec(database.get(), preparation, nullptr, nullptr, nullptr));
    if (status == errSecSuccess) status = prepare(database.get(), sql, statement);
    if (status == errSecSuccess) status = bind(statement.get(), query);
    if (status == errSecSuccess && data != nullptr) {
        status = statusFor(database.get(), bind(statement.get(), 4, data->data(), data->size()));
        // Only now is it known to be a store of ours: another file keeps its mode.
        if (status == errSecSuccess) status = restrictMode(path);
    }
    if (status != errSecSuccess) return status;
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_DONE) return statusFor(database.get(), result);
    return sqlite3_changes(database.get()) > 0 ? errSecSuccess : errSecItemNotFound;
}

/// What reads items of a file.
struct Reader {
    std::string path;
    Database database;
    Statement select;
};

/// Puts the reader in the place of the one that is kept for the next operation, which it returns: to open the file and
/// to understand its schema takes many times as long as to read an item. Who finds none, because another thread has
/// it, opens one.
Reader exchangeKept(Reader reader) {
    static std::mutex mutex;
    // Never destroyed: threads may still be at work when the process ends.
    static auto* const kept = new Reader;
    const std::lock_guard lock(mutex);
    std::swap(*kept, reader);
    return reader;
}

/// Whether the reader has the file open that the path leads to now.
bool isOpen(const Reader& reader, const std::string& path) {
    int hasMoved = 1;
    if (reader.database && reader.path == path)
        sqlite3_file_control(reader.database.get(), nullptr, SQLITE_FCNTL_HAS_MOVED, &hasMoved);
    return hasMoved == 0;
}

SecItemResult read(const Reader& reader, const GenericPasswordQuery& query) {
    sqlite3_stmt* const select = reader.select.get();
    if (const OSStatus status = bind(select, query); status != errSecSuccess) return {status, {}};
    const int result = sqlite3_step(select);
    if (result == SQLITE_DONE) return {errSecItemNotFound, {}};
    if (result != SQLITE_ROW) return {statusFor(reader.database.get(), result), {}};
    const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(select, 0));
    const int length = sqlite3_column_bytes(select, 0);
    if (bytes == nullptr && sqlite3_errcode(reader.database.get()) == SQLITE_NOMEM) throw std::bad_alloc();
    return {errSecSuccess, Foundation::Data(bytes, bytes + length)};
}

}  // namespace

// SQLite takes a relative path such as ":memory:" or "file:…" for something else.
EmbeddedStore::EmbeddedStore(const std::string& path)
    : path_(path.starts_with('/') ? path : std::filesystem::absolute(path).string()) {}

SecItemResult EmbeddedStore::copyMatching(const GenericPasswordQuery& query) {
    Reader reader = exchangeKept({});
    if (!isOpen(reader, path_)) {
        reader = Reader{path_, {}, {}};
        OSStatus status = open(path_, reader.database);
        if (status == errSecSuccess) status = prepare(reader.database.get(), selectItem, reader.select);
        if (status != errSecSuccess) return {status, {}};
    }
    SecItemResult result = read(reader, query);
    // The lock on the file ends here, and what was bound is the caller's.
    if (sqlite3_reset(reader.select.get()) == SQLITE_OK) {
        sqlite3_clear_bindings(reader.select.get());
        exchangeKept(std::move(reader));
    }
    return result;
}

OSStatus EmbeddedStore::update(const GenericPasswordQuery& query, const Foundation::Data& data) {
    return change(path_, wipeDeleted, updateItems, query, &data);
}

OSStatus EmbeddedStore::add(const GenericPasswordQuery& query, const Foundation::Data& data) {
    // The file has its mode before SQLite sees it, and gives it to the journal. It is made without opening
    // it: see restrictMode.
    if (::mknod(path_.c_str(), S_IFREG | 0600, 0) != 0 && errno != EEXIST) return statusForErrno(errno);
    const OSStatus status = change(path_, createTable, insertItem, query, &data);
    return status == errSecItemNotFound ? errSecIO : status;  // the file is gone again
}

OSStatus EmbeddedStore::remove(const GenericPasswordQuery& query) {
    return change(path_, wipeDeleted, deleteItems, query, nullptr);
}

}  // namespace Security
