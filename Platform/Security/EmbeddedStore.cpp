#include "Security/EmbeddedStore.h"

#include <cerrno>
#include <memory>
#include <new>
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

using Database = std::unique_ptr<sqlite3, Foundation::Releaser<sqlite3_close>>;
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
OSStatus restrictMode(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || (status.st_mode & 077) == 0) return errSecSuccess;
    return ::chmod(path.c_str(), 0600) == 0 ? errSecSuccess : statusForErrno(errno);
}

/// False for a directory or a device.
bool mayBeStore(const std::filesystem::path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

/// Opens the file and runs the preparation, unless it is null, and the statement. `data` is null where none
/// is written.
SecItemResult run(const std::filesystem::path& path, const char* preparation, const char* sql,
                  const GenericPasswordQuery& query, const Foundation::Data* data) {
    if (!mayBeStore(path)) return {errSecIO, {}};
    sqlite3* opened = nullptr;
    // Opened for writing even where it is only read: a crashed writer's journal may have to be rolled back.
    // The operation is the connection's only user, hence no mutex.
    int result = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    const Database database(opened);
    if (result == SQLITE_CANTOPEN && sqlite3_system_errno(opened) == ENOENT) return {errSecItemNotFound, {}};
    if (result != SQLITE_OK) return {statusFor(opened, result), {}};
    sqlite3_busy_timeout(opened, lockTimeout);

    if (preparation != nullptr) result = sqlite3_exec(opened, preparation, nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) return {statusFor(opened, result), {}};

    sqlite3_stmt* prepared = nullptr;
    result = sqlite3_prepare_v2(opened, sql, -1, &prepared, nullptr);
    const Statement statement(prepared);
    // A file without the table was made a moment ago, or left so by an add that came no further.
    if (result == SQLITE_ERROR && sqlite3_table_column_metadata(opened, nullptr, "items", nullptr, nullptr, nullptr,
                                                                nullptr, nullptr, nullptr) == SQLITE_ERROR)
        return {errSecItemNotFound, {}};
    if (result == SQLITE_OK) result = bind(prepared, 1, query.service.data(), query.service.size());
    if (result == SQLITE_OK) result = bind(prepared, 2, query.account.data(), query.account.size());
    if (result == SQLITE_OK && query.accessGroup)
        result = bind(prepared, 3, query.accessGroup->data(), query.accessGroup->size());
    if (result == SQLITE_OK && data != nullptr) result = bind(prepared, 4, data->data(), data->size());
    if (result != SQLITE_OK) return {statusFor(opened, result), {}};

    // Only now is it known to be a store of ours: another file keeps its mode.
    if (data != nullptr) {
        if (const OSStatus status = restrictMode(path); status != errSecSuccess) return {status, {}};
    }
    result = sqlite3_step(prepared);
    if (result == SQLITE_ROW) {
        const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(prepared, 0));
        const int length = sqlite3_column_bytes(prepared, 0);
        if (bytes == nullptr && sqlite3_errcode(opened) == SQLITE_NOMEM) throw std::bad_alloc();
        return {errSecSuccess, Foundation::Data(bytes, bytes + length)};
    }
    if (result != SQLITE_DONE) return {statusFor(opened, result), {}};
    return {sqlite3_changes(opened) > 0 ? errSecSuccess : errSecItemNotFound, {}};
}

}  // namespace

// SQLite takes a relative path such as ":memory:" or "file:…" for something else.
EmbeddedStore::EmbeddedStore(std::filesystem::path path) : path_(std::filesystem::absolute(path)) {}

SecItemResult EmbeddedStore::copyMatching(const GenericPasswordQuery& query) {
    return run(path_, nullptr, selectItem, query, nullptr);
}

OSStatus EmbeddedStore::update(const GenericPasswordQuery& query, const Foundation::Data& data) {
    return run(path_, wipeDeleted, updateItems, query, &data).status;
}

OSStatus EmbeddedStore::add(const GenericPasswordQuery& query, const Foundation::Data& data) {
    // The file has its mode before SQLite sees it, and gives it to the journal. It is made without opening
    // it: see restrictMode.
    if (::mknod(path_.c_str(), S_IFREG | 0600, 0) != 0 && errno != EEXIST) return statusForErrno(errno);
    const OSStatus status = run(path_, createTable, insertItem, query, &data).status;
    return status == errSecItemNotFound ? errSecIO : status;  // the file is gone again
}

OSStatus EmbeddedStore::remove(const GenericPasswordQuery& query) {
    return run(path_, wipeDeleted, deleteItems, query, nullptr).status;
}

}  // namespace Security
