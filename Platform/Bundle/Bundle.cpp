#include "Bundle/Bundle.h"

#include <cstdlib>
#include <new>
#include <system_error>
#include <utility>

#include <dlfcn.h>
#include <plist/plist.h>

#include "Bundle/Locale.h"
#include "Foundation/Files.h"
#include "Foundation/Releaser.h"

namespace Foundation {

namespace {

/// The library's strings are ours to free.
using Text = std::unique_ptr<char, Releaser<::free>>;

PropertyList converted(plist_t node);

Dictionary convertedDictionary(plist_t node) {
    Dictionary dictionary;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    while (true) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, iterator, &key, &value);
        if (value == nullptr) break;
        const Text owned(key);
        if (key == nullptr) throw std::bad_alloc();
        dictionary.insert_or_assign(key, converted(value));
    }
    std::free(iterator);
    return dictionary;
}

/// Dates and identifiers, which nothing here uses, become null: a value of another kind.
PropertyList converted(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t boolean = 0;
            plist_get_bool_val(node, &boolean);
            return boolean != 0;
        }
        case PLIST_UINT: {
            std::uint64_t integer = 0;
            plist_get_uint_val(node, &integer);
            return static_cast<std::int64_t>(integer);
        }
        case PLIST_REAL: {
            double real = 0;
            plist_get_real_val(node, &real);
            return real;
        }
        case PLIST_STRING: {
            char* text = nullptr;
            plist_get_string_val(node, &text);
            const Text owned(text);
            return text == nullptr ? PropertyList() : PropertyList(text);
        }
        case PLIST_DATA: {
            char* bytes = nullptr;
            std::uint64_t length = 0;
            plist_get_data_val(node, &bytes, &length);
            const Text owned(bytes);
            return Data(bytes, bytes + length);
        }
        case PLIST_ARRAY: {
            PropertyList::Array array;
            const std::uint32_t size = plist_array_get_size(node);
            for (std::uint32_t i = 0; i < size; ++i)
                array.push_back(converted(plist_array_get_item(node, i)));
            return array;
        }
        case PLIST_DICT:
            return convertedDictionary(node);
        default:
            return {};
    }
}

/// The dictionary in a property list file. The library reports no reasons, so a file that is missing, damaged or
/// holds something else is empty: what is required of it is then found missing, by name.
Dictionary dictionaryIn(const std::filesystem::path& file) {
    Data data;
    try {
        data = Files::read(file);
    } catch (const CocoaError&) {
        return {};
    }
    plist_t root = nullptr;
    plist_from_memory(reinterpret_cast<const char*>(data.data()), static_cast<std::uint32_t>(data.size()), &root);
    if (root == nullptr) return {};
    const std::unique_ptr<void, Releaser<plist_free>> owned(root);
    return plist_get_node_type(root) == PLIST_DICT ? convertedDictionary(root) : Dictionary();
}

bool isDirectory(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

std::filesystem::path enclosingBundle(const std::filesystem::path& code) {
    const std::filesystem::path directory = code.parent_path();
    if (directory.filename() == "MacOS" && directory.parent_path().filename() == "Contents")
        return directory.parent_path().parent_path();
    return directory;
}

}  // namespace

Bundle::Bundle(std::filesystem::path path) : path_(std::move(path)), hasContents_(isDirectory(path_ / "Contents")) {}

std::shared_ptr<const Bundle> Bundle::open(const std::filesystem::path& path) {
    if (!isDirectory(path)) return nullptr;
    return std::shared_ptr<const Bundle>(new Bundle(path));
}

const Bundle& Bundle::main() {
    static const Bundle bundle = [] {
        std::error_code ignored;
        return Bundle(enclosingBundle(std::filesystem::read_symlink("/proc/self/exe", ignored)));
    }();
    return bundle;
}

std::shared_ptr<const Bundle> Bundle::containing(const void* address) {
    Dl_info information{};
    if (::dladdr(address, &information) == 0 || information.dli_fname == nullptr) return nullptr;
    std::error_code error;
    // The program itself is listed by the name it was started with, which need not be a path.
    const std::filesystem::path code = std::filesystem::canonical(information.dli_fname, error);
    return error ? nullptr : open(enclosingBundle(code));
}

std::filesystem::path Bundle::resourcePath() const {
    return hasContents_ ? path_ / "Contents/Resources" : path_;
}

const Dictionary& Bundle::infoDictionary() const {
    const std::lock_guard lock(mutex_);
    if (!information_) information_ = dictionaryIn(path_ / (hasContents_ ? "Contents/Info.plist" : "Info.plist"));
    return *information_;
}

const Dictionary& Bundle::table(const std::string& language) const {
    const auto found = tables_.find(language);
    if (found != tables_.end()) return found->second;
    return tables_[language] = dictionaryIn(resourcePath() / (language + ".lproj") / "Localizable.strings");
}

std::string Bundle::localizedString(const std::string& key) const {
    auto languages = preferredLanguages();
    languages.emplace_back("en");
    const std::lock_guard lock(mutex_);
    for (const auto& language : languages) {
        // A locale is the user's text: only a plain name may become part of a path.
        if (language.empty() || language.find_first_of("/.") != std::string::npos) continue;
        if (!isDirectory(resourcePath() / (language + ".lproj"))) continue;
        const PropertyList* text = find(table(language), key);
        return text != nullptr && text->text() != nullptr ? *text->text() : key;
    }
    return key;
}

}  // namespace Foundation
