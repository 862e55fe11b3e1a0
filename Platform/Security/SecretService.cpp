#include "Security/SecretService.h"

#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "Foundation/UTF8.h"
#include "Security/LibSecret.h"
#include "Security/Log.h"

namespace Security {

namespace {

constexpr SecretSchema schema = [] {
    SecretSchema result{};
    result.name = "com.norvane.tessel.keychain";
    result.flags = SECRET_SCHEMA_NONE;
    result.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
    result.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
    result.attributes[2] = {"access-group", SECRET_SCHEMA_ATTRIBUTE_STRING};
    return result;
}();

bool isAttribute(const std::string& text) {
    return text.find('\0') == std::string::npos && Foundation::isValidUTF8(text);
}

bool canExist(const GenericPasswordQuery& query) {
    return isAttribute(query.service) && isAttribute(query.account) && isAttribute(query.accessGroup.value_or(""));
}

}  // namespace

/// A connection to the service for the length of one operation, in the operation's thread. An operation
/// returns the data, where it is one that finds any, and throws `Failure`.
class SecretService::Session {
public:
    Session(const LibSecret& library, GCancellable* cancellable)
        : library_(library), cancellable_(cancellable), context_(library), service_(connect()) {}

    Foundation::Data copyMatching(const GenericPasswordQuery& query) const {
        const Items items = search(query);
        for (const auto& item : items) {
            if (isLocked(item)) continue;
            ErrorSlot error(library_);
            library_.secret_item_load_secret_sync(item.get(), cancellable_, error);
            error.check();
            const Owned<SecretValue> value(library_.secret_item_get_secret(item.get()), library_.secret_value_unref);
            if (!value) throw Failure(errSecDecode);
            gsize length = 0;
            const gchar* bytes = library_.secret_value_get(value.get(), &length);
            return {bytes, bytes + length};
        }
        throw Failure(items.empty() ? errSecItemNotFound : errSecInteractionNotAllowed);
    }

    std::nullopt_t update(const GenericPasswordQuery& query, const Foundation::Data& data) const {
        const Items items = searchUnlocked(query);
        const Owned<SecretValue> value = secretValue(data);
        for (const auto& item : items) {
            ErrorSlot error(library_);
            library_.secret_item_set_secret_sync(item.get(), value.get(), cancellable_, error);
            error.check();
        }
        return std::nullopt;
    }

    std::nullopt_t add(GenericPasswordQuery item, const Foundation::Data& data) const {
        if (!item.accessGroup) item.accessGroup.emplace();
        for (const auto& same : search(item))
            throw Failure(isLocked(same) ? errSecInteractionNotAllowed : errSecDuplicateItem);
        ErrorSlot error(library_);
        const Owned<SecretCollection> collection(
            library_.secret_collection_for_alias_sync(service_.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE,
                                                      cancellable_, error),
            library_.g_object_unref);
        error.check();
        if (!collection) throw Failure(errSecNotAvailable);
        if (library_.secret_collection_get_locked(collection.get()) != FALSE)
            throw Failure(errSecInteractionNotAllowed);
        // Replacing, so that of two processes that add the item at once none leaves a second one.
        const Owned<SecretItem> created(
            library_.secret_item_create_sync(collection.get(), &schema, attributes(item).get(), item.service.c_str(),
                                             secretValue(data).get(), SECRET_ITEM_CREATE_REPLACE, cancellable_, error),
            library_.g_object_unref);
        error.check();
        return std::nullopt;
    }

    std::nullopt_t remove(const GenericPasswordQuery& query) const {
        for (const auto& item : searchUnlocked(query)) {
            ErrorSlot error(library_);
            library_.secret_item_delete_sync(item.get(), cancellable_, error);
            error.check();
        }
        return std::nullopt;
    }

private:
    Owned<::SecretService> connect() const {
        ErrorSlot error(library_);
        // GIO's connection is shared by all who hold it, and would end the process together with the bus.
        const Owned<GDBusConnection> connection(library_.g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable_, error),
                                                library_.g_object_unref);
        error.check();
        library_.g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
        // A new instance each time: libsecret's own is kept for good, and would miss that the service
        // restarted.
        Owned<::SecretService> service(
            library_.secret_service_open_sync(library_.serviceType, nullptr, SECRET_SERVICE_NONE, cancellable_, error),
            library_.g_object_unref);
        error.check();
        return service;
    }

    /// The attributes of the item; a view of the query's texts.
    Attributes attributes(const GenericPasswordQuery& query) const {
        Attributes table(library_.g_hash_table_new(library_.g_str_hash, library_.g_str_equal),
                         library_.g_hash_table_unref);
        const auto insert = [&](const char* name, const std::string& value) {
            library_.g_hash_table_insert(table.get(), const_cast<char*>(name), const_cast<char*>(value.c_str()));
        };
        insert("service", query.service);
        insert("account", query.account);
        if (query.accessGroup) insert("access-group", *query.accessGroup);
        return table;
    }

    /// The items that match, locked ones too. The schema is no part of the search: of a keyring that nobody
    /// has unlocked yet, the daemon knows every attribute but that one. Nor are secrets loaded: the search
    /// would do so without heed of the cancellation and of errors.
    Items search(const GenericPasswordQuery& query) const {
        ErrorSlot error(library_);
        GList* const found = library_.secret_service_search_sync(service_.get(), nullptr, attributes(query).get(),
                                                                 SECRET_SEARCH_ALL, cancellable_, error);
        Items items;
        for (const GList* node = found; node != nullptr; node = node->next) {
            Owned<SecretItem> item(static_cast<SecretItem*>(node->data), library_.g_object_unref);
            if (isLocked(item) || hasOurSchema(item)) items.push_back(std::move(item));
        }
        library_.g_list_free(found);
        error.check();
        return items;
    }

    bool isLocked(const Owned<SecretItem>& item) const { return library_.secret_item_get_locked(item.get()) != FALSE; }

    bool hasOurSchema(const Owned<SecretItem>& item) const {
        const Owned<gchar> name(library_.secret_item_get_schema_name(item.get()), library_.g_free);
        return name && std::string_view(name.get()) == schema.name;
    }

    /// The items that match, of which there is one at least and none is locked: all are changed or none.
    Items searchUnlocked(const GenericPasswordQuery& query) const {
        Items items = search(query);
        if (items.empty()) throw Failure(errSecItemNotFound);
        for (const auto& item : items)
            if (isLocked(item)) throw Failure(errSecInteractionNotAllowed);
        return items;
    }

    Owned<SecretValue> secretValue(const Foundation::Data& data) const {
        const std::string_view bytes = Foundation::textView(data);
        return {library_.secret_value_new(bytes.data(), static_cast<gssize>(bytes.size()), "application/octet-stream"),
                library_.secret_value_unref};
    }

    const LibSecret& library_;
    GCancellable* cancellable_;
    ThreadContext context_;
    Owned<::SecretService> service_;
};

namespace {

/// The operations that were given up, until their threads have ended.
class GivenUp {
public:
    static GivenUp& shared() {
        static auto* const operations = new GivenUp;  // never destroyed: threads end later than the process's statics
        return *operations;
    }

    /// Whether there are so many that the next one need not be tried.
    bool areTooMany() {
        const std::lock_guard lock(mutex_);
        std::erase_if(operations_, [](const auto& operation) { return operation.expired(); });
        return operations_.size() >= maximum;
    }

    void insert(const std::shared_ptr<GCancellable>& operation) {
        const std::lock_guard lock(mutex_);
        operations_.push_back(operation);
    }

private:
    static constexpr std::size_t maximum = 16;

    std::mutex mutex_;
    std::vector<std::weak_ptr<GCancellable>> operations_;
};

}  // namespace

SecretService::SecretService(std::chrono::milliseconds timeout) : timeout_(timeout) {}

/// Runs the operation in a thread of its own, which is left to itself when the time is up. To cancel it is
/// not enough: GIO's first call to the bus ("Hello") takes no heed of that, and waits for 25 seconds.
SecItemResult SecretService::perform(Operation operation) const {
    if (GivenUp::shared().areTooMany()) return {errSecNotAvailable, std::nullopt};
    try {
        const LibSecret& library = LibSecret::shared();
        const std::shared_ptr<GCancellable> cancellable(library.g_cancellable_new(), library.g_object_unref);
        std::packaged_task<SecItemResult()> task(
            [&library, cancellable, operation = std::move(operation)]() -> SecItemResult {
                try {
                    return {errSecSuccess, operation(Session(library, cancellable.get()))};
                } catch (const Failure& failure) {
                    return {failure.status(), std::nullopt};
                }
            });
        std::future<SecItemResult> result = task.get_future();
        std::thread(std::move(task)).detach();
        if (result.wait_for(timeout_) == std::future_status::ready) return result.get();
        library.g_cancellable_cancel(cancellable.get());
        GivenUp::shared().insert(cancellable);
    } catch (const std::runtime_error& error) {
        // The library cannot be loaded, or no thread started.
        log().error("The secret service cannot be used: ", os::Public{error.what()});
    }
    return {errSecNotAvailable, std::nullopt};
}

SecItemResult SecretService::copyMatching(const GenericPasswordQuery& query) {
    if (!canExist(query)) return {errSecItemNotFound, std::nullopt};
    return perform([query](const Session& session) { return session.copyMatching(query); });
}

OSStatus SecretService::update(const GenericPasswordQuery& query, const Foundation::Data& data) {
    if (!canExist(query)) return errSecItemNotFound;
    return perform([query, data](const Session& session) { return session.update(query, data); }).status;
}

OSStatus SecretService::add(const GenericPasswordQuery& query, const Foundation::Data& data) {
    if (!canExist(query)) return errSecParam;
    return perform([query, data](const Session& session) { return session.add(query, data); }).status;
}

OSStatus SecretService::remove(const GenericPasswordQuery& query) {
    if (!canExist(query)) return errSecItemNotFound;
    return perform([query](const Session& session) { return session.remove(query); }).status;
}

}  // namespace Security
