#pragma once

#include <exception>
#include <memory>
#include <vector>

#include <libsecret/secret.h>

#include "Foundation/DynamicLibrary.h"
#include "Security/SecItem.h"

namespace Security {

/// What stops an operation.
class Failure final : public std::exception {
public:
    explicit Failure(OSStatus status) : status_(status) {}
    OSStatus status() const { return status_; }

private:
    OSStatus status_;
};

/// libsecret and what is used of GLib beneath it, under the functions' own names.
struct LibSecret {
    /// Throws `std::runtime_error` where it cannot be loaded.
    static const LibSecret& shared();

    Foundation::DynamicLibrary library{"libsecret-1.so.0"};
#define TESSEL_FUNCTION(name) decltype(::name)* const name = library.function<decltype(::name)>(#name)
    TESSEL_FUNCTION(g_bus_get_sync);
    TESSEL_FUNCTION(g_cancellable_cancel);
    TESSEL_FUNCTION(g_cancellable_new);
    TESSEL_FUNCTION(g_dbus_connection_set_exit_on_close);
    TESSEL_FUNCTION(g_dbus_error_quark);
    TESSEL_FUNCTION(g_error_free);
    TESSEL_FUNCTION(g_free);
    TESSEL_FUNCTION(g_hash_table_insert);
    TESSEL_FUNCTION(g_hash_table_new);
    TESSEL_FUNCTION(g_hash_table_unref);
    TESSEL_FUNCTION(g_io_error_quark);
    TESSEL_FUNCTION(g_list_free);
    TESSEL_FUNCTION(g_main_context_iteration);
    TESSEL_FUNCTION(g_main_context_new);
    TESSEL_FUNCTION(g_main_context_pop_thread_default);
    TESSEL_FUNCTION(g_main_context_push_thread_default);
    TESSEL_FUNCTION(g_main_context_unref);
    TESSEL_FUNCTION(g_object_unref);
    TESSEL_FUNCTION(g_set_error_literal);
    TESSEL_FUNCTION(g_str_equal);
    TESSEL_FUNCTION(g_str_hash);
    TESSEL_FUNCTION(g_task_propagate_pointer);
    TESSEL_FUNCTION(g_task_report_new_error);
    TESSEL_FUNCTION(g_type_register_static_simple);
    TESSEL_FUNCTION(secret_collection_for_alias_sync);
    TESSEL_FUNCTION(secret_collection_get_locked);
    TESSEL_FUNCTION(secret_error_get_quark);
    TESSEL_FUNCTION(secret_item_create_sync);
    TESSEL_FUNCTION(secret_item_delete_sync);
    TESSEL_FUNCTION(secret_item_get_locked);
    TESSEL_FUNCTION(secret_item_get_schema_name);
    TESSEL_FUNCTION(secret_item_get_secret);
    TESSEL_FUNCTION(secret_item_load_secret_sync);
    TESSEL_FUNCTION(secret_item_set_secret_sync);
    TESSEL_FUNCTION(secret_service_get_type);
    TESSEL_FUNCTION(secret_service_open_sync);
    TESSEL_FUNCTION(secret_service_search_sync);
    TESSEL_FUNCTION(secret_value_get);
    TESSEL_FUNCTION(secret_value_new);
    TESSEL_FUNCTION(secret_value_unref);
#undef TESSEL_FUNCTION

    // Asked for at once: the service's errors are known by name only from then on.
    const GQuark secretError = secret_error_get_quark();
    const GType serviceType = registerServiceType();

private:
    GType registerServiceType() const;
};

/// Owns what one of the libraries' functions frees.
template <class T, class Pointer = gpointer>
using Owned = std::unique_ptr<T, void (*)(Pointer)>;
using Attributes = Owned<GHashTable, GHashTable*>;
using Items = std::vector<Owned<SecretItem>>;

/// Where a call puts its error, as its last argument.
class ErrorSlot {
public:
    explicit ErrorSlot(const LibSecret& library) : library_(library) {}
    ~ErrorSlot() {
        if (error_ != nullptr) library_.g_error_free(error_);
    }
    ErrorSlot(const ErrorSlot&) = delete;
    ErrorSlot& operator=(const ErrorSlot&) = delete;

    operator GError**() { return &error_; }

    /// Throws the failure for the error, where there is one.
    void check() const {
        if (error_ != nullptr) throw Failure(status());
    }

private:
    OSStatus status() const;

    const LibSecret& library_;
    GError* error_ = nullptr;
};

/// The main context of a thread, so that what arrives for its connection does not pile up in the program's.
class ThreadContext {
public:
    explicit ThreadContext(const LibSecret& library);
    ~ThreadContext();
    ThreadContext(const ThreadContext&) = delete;
    ThreadContext& operator=(const ThreadContext&) = delete;

private:
    const LibSecret& library_;
    GMainContext* context_;
};

}  // namespace Security
