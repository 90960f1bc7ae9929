#pragma once

#include <cstdint>

#include "core/src/Export.h"

/// The answer of every operation of the library.
///
/// A 32-bit number. The top byte names the family, bit 31 marks a failure, 0 is the plain success:
///
///   0x00  success
///   0x80  general faults of the library
///   0x81  faults of the platform: files, time, network, cryptography, parsing
///   0x82  answers of the account service and states of a sign-in
///   0x83  faults of the backup metadata service
///   0x84  faults of the update feed
///   0x85  the host's secrets file
///
/// The numbers are interface: hosts log them and compare them. Three of them are steps of a sign-in rather
/// than faults: kTooManyContexts (one must be chosen), kSecondFactorRequired and kInvalidVerificationCode.
enum class QUILLMARKCLIENT_ERROR : std::uint32_t {
    kSuccess = 0x00000000,

    kInternalError = 0x80000001,
    kInvalidParameters = 0x80000002,
    kInsufficientResources = 0x80000003,
    kNotImplemented = 0x80000004,
    kBufferTooSmall = 0x80000005,
    kRequestNotSent = 0x80000006,  // the one code that counts as a network problem to hosts
    kVersionMismatch = 0x80000007,
    kCannotDeserialize = 0x80000009,
    kCannotSerialize = 0x8000000A,
    kNotInitialized = 0x8000000B,
    kServiceMaintenance = 0x8000000C,
    kServiceUnavailable = 0x8000000D,

    kFileOpen = 0x81000001,
    kFileRead = 0x81000002,
    kFileWrite = 0x81000003,
    kFileSeek = 0x81000004,
    kMachineId = 0x81000005,
    kNetwork = 0x81000006,
    kSend = 0x81000007,
    kFileGetSize = 0x81000008,
    kFileSetSize = 0x81000009,
    kGetTime = 0x8100000A,
    kFileDelete = 0x8100000B,
    kCryptInit = 0x8100000C,
    kVerifySignature = 0x8100000D,
    kEncrypt = 0x8100000E,
    kDecrypt = 0x8100000F,
    kRsaDecrypt = 0x81000010,
    kHash = 0x81000011,
    kXmlParse = 0x81000012,
    kJsonParse = 0x81000013,
    kTimedOut = 0x81000014,

    kRegistryNotInitialized = 0x82000001,
    kAuthorizationDenied = 0x82000002,
    kInternalServiceError = 0x82000003,
    kCompatibilityBroken = 0x82000004,
    kCustomerNotFound = 0x82000005,
    kInvalidLoginOrPassword = 0x82000006,
    kEmailUnverifiedOrBlocked = 0x82000007,
    kAccountExists = 0x82000008,
    kSocialAccountLinked = 0x82000009,
    kAccessDenied = 0x8200000A,
    kTooManyContexts = 0x8200000B,
    kContextNotFound = 0x8200000C,
    kTooManyRequests = 0x8200000D,
    kNotFound = 0x8200000E,
    kTemporarilyLocked = 0x8200000F,
    kLocked = 0x82000010,
    kSignUpNotFinalized = 0x82000011,
    kSecondFactorRequired = 0x82000012,
    kInvalidVerificationCode = 0x82000013,

    kMetadataRefused = 0x83000001,

    kFeedInvalid = 0x84000001,
    kNoUpdate = 0x84000004,  // no such feed, or nothing newer in it
    kFeedUnavailable = 0x84000006,

    kSecretsFormat = 0x85000001,
    kSecretsFileNotFound = 0x85000002,
};

/// The name by which the library itself speaks of a code.
using ResultCode = QUILLMARKCLIENT_ERROR;

/// Whether `code` is a success: bit 31 is clear. The one test used after every call, at every layer.
[[nodiscard]] constexpr bool IsSuccess(ResultCode code) noexcept {
    return static_cast<std::int32_t>(code) >= 0;
}

/// The English text of `code`, never translated.
///
/// Never null; a constant, owned by the library. Empty for success, "Unknown error code" for a number without
/// a text. Any thread, at any time, before any client exists too.
[[nodiscard]] QUILLMARK_CORE_EXPORT const char* GetErrorText(ResultCode code) noexcept;
