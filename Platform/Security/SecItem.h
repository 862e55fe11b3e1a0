#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Foundation/Data.h"

/// The secrets of the user's session, as keychain items. They live in the desktop's Secret Service, or, where
/// $TESSEL_KEYCHAIN is "file:PATH", in an embedded store, one file of mode 0600. Every operation works on
/// generic passwords that are readable after the first unlock. Safe to call from several threads and
/// processes.
namespace Security {

/// A result code, in the keychain's own numbers.
using OSStatus = std::int32_t;

inline constexpr OSStatus errSecSuccess = 0;
inline constexpr OSStatus errSecIO = -36;               ///< the store could not be read or written
inline constexpr OSStatus errSecParam = -50;            ///< $TESSEL_KEYCHAIN names no kind of store, or what is added
                                                        ///< has a name that the store cannot hold
inline constexpr OSStatus errSecNotAvailable = -25291;  ///< there is no store, or it does not answer in time
inline constexpr OSStatus errSecAuthFailed = -25293;    ///< the store may not be used by this user or program
inline constexpr OSStatus errSecDuplicateItem = -25299;
inline constexpr OSStatus errSecItemNotFound = -25300;
inline constexpr OSStatus errSecInteractionNotAllowed = -25308;  ///< the store is locked
inline constexpr OSStatus errSecDecode = -26275;                 ///< what is in the store cannot be read as items
inline constexpr OSStatus errSecMissingEntitlement = -34018;

/// Names an item, by exact bytes. Without an access group a query matches any; an item added without one has
/// none, which is the same as an empty one. The Secret Service keeps names as UTF-8 text without NUL: others
/// name no item there.
struct GenericPasswordQuery {
    std::string service;
    std::string account;
    std::optional<std::string> accessGroup;
};

/// What a look-up has found.
struct SecItemResult {
    OSStatus status = errSecSuccess;
    std::optional<Foundation::Data> data;  ///< present with `errSecSuccess`
};

/// The data of one item that the query matches. From the Secret Service the answer takes 5 seconds at most;
/// this holds for each operation, and a change that was given up may still come to pass.
SecItemResult SecItemCopyMatching(const GenericPasswordQuery& query);

/// Replaces the data of every item that the query matches; `errSecItemNotFound` where there is none.
OSStatus SecItemUpdate(const GenericPasswordQuery& query, const Foundation::Data& data);

/// Adds an item; `errSecDuplicateItem` where there is one of the same service, access group and account.
OSStatus SecItemAdd(const GenericPasswordQuery& query, const Foundation::Data& data);

/// Removes every item that the query matches; `errSecItemNotFound` where there is none.
OSStatus SecItemDelete(const GenericPasswordQuery& query);

/// The status in words; nothing for a status that has none.
std::optional<std::string> SecCopyErrorMessageString(OSStatus status);

}  // namespace Security
