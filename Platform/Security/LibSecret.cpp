#include "Security/LibSecret.h"

namespace Security {

namespace {

GVariant* refusePrompt(::SecretService*, SecretPrompt*, GCancellable*, const GVariantType*, GError** error) {
    const LibSecret& library = LibSecret::shared();
    library.g_set_error_literal(error, library.secretError, SECRET_ERROR_IS_LOCKED, "a prompt is needed");
    return nullptr;
}

void refusePromptLater(::SecretService* service, SecretPrompt*, const GVariantType*, GCancellable*,
                       GAsyncReadyCallback callback, gpointer data) {
    const LibSecret& library = LibSecret::shared();
    library.g_task_report_new_error(service, callback, data, nullptr, library.secretError, SECRET_ERROR_IS_LOCKED,
                                    "a prompt is needed");
}

GVariant* finishRefusedPrompt(::SecretService*, GAsyncResult* result, GError** error) {
    return static_cast<GVariant*>(
        LibSecret::shared().g_task_propagate_pointer(reinterpret_cast<GTask*>(result), error));
}

}  // namespace

const LibSecret& LibSecret::shared() {
    static const LibSecret library;
    return library;
}

/// libsecret's class for the service, except that it refuses the prompts that the service asks for. The
/// original shows them to the user and waits.
GType LibSecret::registerServiceType() const {
    const auto initialise = [](gpointer object, gpointer) {
        auto* type = static_cast<SecretServiceClass*>(object);
        type->prompt_sync = &refusePrompt;
        type->prompt_async = &refusePromptLater;
        type->prompt_finish = &finishRefusedPrompt;
    };
    return g_type_register_static_simple(secret_service_get_type(), "TesselSecretService", sizeof(SecretServiceClass),
                                         initialise, sizeof(::SecretService), nullptr, GTypeFlags{});
}

OSStatus ErrorSlot::status() const {
    if (error_->domain == library_.secretError) {
        switch (error_->code) {
            case SECRET_ERROR_IS_LOCKED:
                return errSecInteractionNotAllowed;
            case SECRET_ERROR_NO_SUCH_OBJECT:
                return errSecItemNotFound;
            case SECRET_ERROR_ALREADY_EXISTS:
                return errSecDuplicateItem;
            default:
                return errSecDecode;
        }
    }
    if (error_->domain == library_.g_dbus_error_quark()) {
        if (error_->code == G_DBUS_ERROR_ACCESS_DENIED) return errSecAuthFailed;
        if (error_->code == G_DBUS_ERROR_FAILED) return errSecIO;
    }
    // An error of the service's own, by a name that is not known here.
    if (error_->domain == library_.g_io_error_quark() && error_->code == G_IO_ERROR_DBUS_ERROR) return errSecIO;
    return errSecNotAvailable;
}

ThreadContext::ThreadContext(const LibSecret& library) : library_(library), context_(library.g_main_context_new()) {
    library_.g_main_context_push_thread_default(context_);
}

ThreadContext::~ThreadContext() {
    // What is still queued holds memory that only its dispatch frees.
    while (library_.g_main_context_iteration(context_, FALSE) != FALSE) {
    }
    library_.g_main_context_pop_thread_default(context_);
    library_.g_main_context_unref(context_);
}

}  // namespace Security
