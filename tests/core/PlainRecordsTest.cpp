// The layouts of what crosses the native boundary: hosts are built on them, so that each number here is
// interface.
#include "core/src/PlainRecords.h"
#include "tests/support/RecordLayout.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

namespace {

using quillmarkclient::ContextChoice;
using quillmarkclient::CustomerContext;
using quillmarkclient::CustomerData;
using quillmarkclient::NameValuePair;
using quillmarkclient::PrincipalAdmin;
using quillmarkclient::PrincipalAdminRequest;
using quillmarkclient::ProductUpdateInfo;
using quillmarkclient::QuillmarkClientInit;
using quillmarkclient::RetryPolicyRecord;
using quillmarkclient::ServiceErrorRecord;
using quillmarkclient_core::PlatformTable;
using test::ExpectLayouts;
using test::Layout;

TEST(PlainRecords, Sizes) {
    static constexpr Layout rows[] = {
        {"QuillmarkClientInit", sizeof(QuillmarkClientInit), 264},
        {"RetryPolicyRecord", sizeof(RetryPolicyRecord), 16},
        {"ContextChoice", sizeof(ContextChoice), 16},
        {"CustomerContext", sizeof(CustomerContext), 24},
        {"CustomerData", sizeof(CustomerData), 32},
        {"NameValuePair", sizeof(NameValuePair), 16},
        {"ServiceErrorRecord", sizeof(ServiceErrorRecord), 72},
        {"ProductUpdateInfo", sizeof(ProductUpdateInfo), 24},
        {"PrincipalAdminRequest", sizeof(PrincipalAdminRequest), 32},
        {"PrincipalAdmin", sizeof(PrincipalAdmin), 32},
        {"PlatformTable", sizeof(PlatformTable), 200},
    };
    ExpectLayouts(rows);
}

TEST(PlainRecords, TheStartUpRecord) {
    static constexpr Layout rows[] = {
        {"QuillmarkClientInit.version", offsetof(QuillmarkClientInit, version), 0},
        {"QuillmarkClientInit.clientKind", offsetof(QuillmarkClientInit, clientKind), 4},
        {"QuillmarkClientInit.table", offsetof(QuillmarkClientInit, table), 8},
        {"QuillmarkClientInit.storagePath", offsetof(QuillmarkClientInit, storagePath), 208},
        {"QuillmarkClientInit.serviceUrl", offsetof(QuillmarkClientInit, serviceUrl), 216},
        {"QuillmarkClientInit.identityName", offsetof(QuillmarkClientInit, identityName), 224},
        {"QuillmarkClientInit.auxiliary4", offsetof(QuillmarkClientInit, auxiliary4), 232},
        {"QuillmarkClientInit.useAlternateKeys", offsetof(QuillmarkClientInit, useAlternateKeys), 240},
        {"QuillmarkClientInit.retryPolicy", offsetof(QuillmarkClientInit, retryPolicy), 244},
        {"RetryPolicyRecord.maxAttempts", offsetof(RetryPolicyRecord, maxAttempts), 0},
        {"RetryPolicyRecord.timeoutRetryDelayMs", offsetof(RetryPolicyRecord, timeoutRetryDelayMs), 4},
        {"RetryPolicyRecord.idempotencyWaitMs", offsetof(RetryPolicyRecord, idempotencyWaitMs), 8},
        {"RetryPolicyRecord.idempotencyWaitCapMs", offsetof(RetryPolicyRecord, idempotencyWaitCapMs), 12},
    };
    ExpectLayouts(rows);
}

TEST(PlainRecords, WhatGoesIn) {
    static constexpr Layout rows[] = {
        {"ContextChoice.kind", offsetof(ContextChoice, kind), 0},
        {"ContextChoice.contextId", offsetof(ContextChoice, contextId), 8},
        {"PrincipalAdminRequest.name", offsetof(PrincipalAdminRequest, name), 0},
        {"PrincipalAdminRequest.email", offsetof(PrincipalAdminRequest, email), 8},
        {"PrincipalAdminRequest.password", offsetof(PrincipalAdminRequest, password), 16},
        {"PrincipalAdminRequest.description", offsetof(PrincipalAdminRequest, description), 24},
    };
    ExpectLayouts(rows);
}

TEST(PlainRecords, WhatGoesOut) {
    static constexpr Layout rows[] = {
        {"CustomerContext.kind", offsetof(CustomerContext, kind), 0},
        {"CustomerContext.id", offsetof(CustomerContext, id), 8},
        {"CustomerContext.name", offsetof(CustomerContext, name), 16},
        {"CustomerData.firstName", offsetof(CustomerData, firstName), 0},
        {"CustomerData.lastName", offsetof(CustomerData, lastName), 8},
        {"CustomerData.email", offsetof(CustomerData, email), 16},
        {"CustomerData.id", offsetof(CustomerData, id), 24},
        {"NameValuePair.name", offsetof(NameValuePair, name), 0},
        {"NameValuePair.value", offsetof(NameValuePair, value), 8},
        {"ServiceErrorRecord.resultCode", offsetof(ServiceErrorRecord, resultCode), 0},
        {"ServiceErrorRecord.httpCode", offsetof(ServiceErrorRecord, httpCode), 4},
        {"ServiceErrorRecord.type", offsetof(ServiceErrorRecord, type), 8},
        {"ServiceErrorRecord.title", offsetof(ServiceErrorRecord, title), 16},
        {"ServiceErrorRecord.status", offsetof(ServiceErrorRecord, status), 24},
        {"ServiceErrorRecord.detail", offsetof(ServiceErrorRecord, detail), 32},
        {"ServiceErrorRecord.reason", offsetof(ServiceErrorRecord, reason), 40},
        {"ServiceErrorRecord.errorCode", offsetof(ServiceErrorRecord, errorCode), 48},
        {"ServiceErrorRecord.traceId", offsetof(ServiceErrorRecord, traceId), 56},
        {"ServiceErrorRecord.errorArgs", offsetof(ServiceErrorRecord, errorArgs), 64},
        {"ProductUpdateInfo.version", offsetof(ProductUpdateInfo, version), 0},
        {"ProductUpdateInfo.description", offsetof(ProductUpdateInfo, description), 8},
        {"ProductUpdateInfo.url", offsetof(ProductUpdateInfo, url), 16},
        {"PrincipalAdmin.id", offsetof(PrincipalAdmin, id), 0},
        {"PrincipalAdmin.name", offsetof(PrincipalAdmin, name), 8},
        {"PrincipalAdmin.email", offsetof(PrincipalAdmin, email), 16},
        {"PrincipalAdmin.description", offsetof(PrincipalAdmin, description), 24},
    };
    ExpectLayouts(rows);
}

// The 25 operations in their order.
TEST(PlainRecords, ThePlatformTable) {
    static constexpr Layout rows[] = {
        {"Sleep", offsetof(PlatformTable, Sleep), 0},
        {"FileRead", offsetof(PlatformTable, FileRead), 8},
        {"FileWrite", offsetof(PlatformTable, FileWrite), 16},
        {"FileGetSize", offsetof(PlatformTable, FileGetSize), 24},
        {"FileSetSize", offsetof(PlatformTable, FileSetSize), 32},
        {"FileDelete", offsetof(PlatformTable, FileDelete), 40},
        {"GetMachineIds", offsetof(PlatformTable, GetMachineIds), 48},
        {"HttpRequest", offsetof(PlatformTable, HttpRequest), 56},
        {"HttpUploadFile", offsetof(PlatformTable, HttpUploadFile), 64},
        {"HttpFree", offsetof(PlatformTable, HttpFree), 72},
        {"Alloc", offsetof(PlatformTable, Alloc), 80},
        {"Free", offsetof(PlatformTable, Free), 88},
        {"MemSet", offsetof(PlatformTable, MemSet), 96},
        {"MemCopy", offsetof(PlatformTable, MemCopy), 104},
        {"MemMove", offsetof(PlatformTable, MemMove), 112},
        {"MemCompare", offsetof(PlatformTable, MemCompare), 120},
        {"GetTime", offsetof(PlatformTable, GetTime), 128},
        {"VerifySignature", offsetof(PlatformTable, VerifySignature), 136},
        {"Encrypt", offsetof(PlatformTable, Encrypt), 144},
        {"Decrypt", offsetof(PlatformTable, Decrypt), 152},
        {"Sha512", offsetof(PlatformTable, Sha512), 160},
        {"Sha256", offsetof(PlatformTable, Sha256), 168},
        {"Md5", offsetof(PlatformTable, Md5), 176},
        {"RsaPublicDecrypt", offsetof(PlatformTable, RsaPublicDecrypt), 184},
        {"FreeCryptoBuffer", offsetof(PlatformTable, FreeCryptoBuffer), 192},
    };
    ExpectLayouts(rows);
}

TEST(PlainRecords, HoldNothingButPlainFields) {
    EXPECT_TRUE(std::is_standard_layout_v<QuillmarkClientInit> && std::is_trivial_v<QuillmarkClientInit>);
    EXPECT_TRUE(std::is_standard_layout_v<RetryPolicyRecord> && std::is_trivial_v<RetryPolicyRecord>);
    EXPECT_TRUE(std::is_standard_layout_v<ContextChoice> && std::is_trivial_v<ContextChoice>);
    EXPECT_TRUE(std::is_standard_layout_v<CustomerContext> && std::is_trivial_v<CustomerContext>);
    EXPECT_TRUE(std::is_standard_layout_v<CustomerData> && std::is_trivial_v<CustomerData>);
    EXPECT_TRUE(std::is_standard_layout_v<NameValuePair> && std::is_trivial_v<NameValuePair>);
    EXPECT_TRUE(std::is_standard_layout_v<ServiceErrorRecord> && std::is_trivial_v<ServiceErrorRecord>);
    EXPECT_TRUE(std::is_standard_layout_v<ProductUpdateInfo> && std::is_trivial_v<ProductUpdateInfo>);
    EXPECT_TRUE(std::is_standard_layout_v<PrincipalAdminRequest> && std::is_trivial_v<PrincipalAdminRequest>);
    EXPECT_TRUE(std::is_standard_layout_v<PrincipalAdmin> && std::is_trivial_v<PrincipalAdmin>);
    EXPECT_TRUE(std::is_standard_layout_v<PlatformTable> && std::is_trivial_v<PlatformTable>);
}

}  // namespace
