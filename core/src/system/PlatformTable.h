#pragma once

#include <cstddef>
#include <cstdint>

namespace quillmarkclient_core {

/// One request header: zero-terminated texts. An empty value goes out as an empty value.
struct HttpHeaderPair {
    const char* name;
    const char* value;
};

// Everything that the core needs of the operating system, the network and the crypto library.
//
// The core makes no system call: it reaches the outside through these pointers only, so that it runs on any
// system for which somebody fills the table. The order of the fields is interface: the table crosses the
// native boundary inside the start-up record.
//
//   texts     zero-terminated UTF-8, paths included
//   context   an opaque pointer that the core hands through unchanged from its caller; may be ignored
//   results   a code of ResultCode.h as a number, 0 for success, unless the row says otherwise
//   null      an entry may be null: each use of it then answers 0x80000004
//   blocks    a block that an operation hands out goes back to its partner: HTTP answers to HttpFree,
//             digests and RSA texts to FreeCryptoBuffer, everything else to Free
//   threads   every operation may be called from any thread at any time
//   logging   none here: the caller decides what a failure means
//
// The rows under "returns" list every code that an operation may answer.
struct PlatformTable {
    // Waits for `milliseconds` on the calling thread.
    //   returns    0
    //   edges      0 returns at once; a signal does not shorten the wait
    //   source     windows: Sleep; linux: clock_nanosleep(2), resumed behind a signal
    std::uint32_t (*Sleep)(std::uint32_t milliseconds, void* context);

    // Reads up to `size` bytes, from `offset` bytes behind the start, into `buffer`.
    //   bytesRead  out, may be null; fewer than `size` at the end of the file, which is no error
    //   returns    0; 0x80000002 null path or buffer; 0x81000001 open; 0x81000002 read
    //   edges      size 0 succeeds and touches nothing; a missing file is created, empty
    //   locks      shared, over the range read; waits for a writer
    //   throws     std::range_error("bad conversion") for a path that is not valid UTF-8
    //   source     windows: ReadFile under LockFileEx; linux: pread(2) under an open file description lock
    std::uint32_t (*FileRead)(const char* path, std::uint64_t offset, void* buffer, std::uint32_t size,
                              std::uint32_t* bytesRead, void* context);

    // Writes `size` bytes at `offset` bytes behind the start; what lies behind them stays.
    //   bytesWritten  out, may be null
    //   returns    0; 0x80000002 null path or buffer; 0x81000001 open; 0x81000003 write, a full disk included
    //   edges      size 0 succeeds and touches nothing; a missing file is created: on Linux for its owner
    //              alone, on Windows hidden and with the rights that its folder hands down
    //   locks      exclusive, over the range written; waits for readers and writers
    //   throws     as FileRead
    //   source     windows: WriteFile under LockFileEx; linux: pwrite(2) under an open file description lock
    std::uint32_t (*FileWrite)(const char* path, std::uint64_t offset, const void* buffer, std::uint32_t size,
                               std::uint32_t* bytesWritten, void* context);

    // Gives the size of the file, the low 32 bits of it.
    //   returns    0; 0x80000002 null argument; 0x81000008 the size of an open file can't be had
    //   edges      a file that can't be opened has size 0, with success, and is not created
    //   throws     as FileRead
    //   source     windows: GetFileSize; linux: open(2) and lseek(2)
    std::uint32_t (*FileGetSize)(const char* path, std::uint32_t* size, void* context);

    // Cuts or extends the file to `size` bytes; 0 empties it.
    //   returns    0; 0x80000002 null path; 0x81000001 open; 0x81000009 set
    //   edges      a missing file is created
    //   throws     as FileRead
    //   source     windows: SetEndOfFile; linux: ftruncate(2)
    std::uint32_t (*FileSetSize)(const char* path, std::uint64_t size, void* context);

    // Removes the file. The path is taken as it stands, bytes on Linux and the ANSI code page on Windows.
    //   returns    0; 0x80000002 null path; 0x8100000B
    //   source     windows: DeleteFileA; linux: unlink(2)
    std::uint32_t (*FileDelete)(const char* path, void* context);

    // Names the machine: zero-terminated texts one directly behind the other, no extra terminator. First
    // "MAC-AA-BB-CC-DD-EE-FF" for each network adapter, then one text for the operating system.
    //   buffer     null asks for the size only
    //   size       in: capacity of the buffer; out, with a null buffer: bytes needed
    //   returns    0; 0x80000002 null size; 0x80000005 buffer too small; 0x80000001 anything else
    //   edges      the answer is kept for the life of the process once it isn't empty
    //   source     windows: WMI; linux: /sys/class/net and /etc/machine-id
    std::uint32_t (*GetMachineIds)(char* buffer, std::uint32_t* size, void* context);

    // One HTTP exchange over a fresh connection; blocks for it.
    //   headers    `headerCount` pairs, sent in order; may be null when the count is 0
    //   body       zero-terminated; null or empty for none
    //   flags      bit 0: redirects are not followed
    //   status     out: the HTTP status; any status is a successful exchange
    //   responseBody     out, may be null: a zero-terminated block, one zero byte when the answer is empty
    //   responseHeaders  out, may be null: the final answer's block with its status line, CRLF at line ends
    //   returns    0; 0x80000002 null method, URL or status, a faulty URL or one that isn't http or https;
    //              0x81000006 the network; 0x81000014 a time-out, from platforms that tell it apart;
    //              0x80000001 text that is not UTF-8, and anything else
    //   owner      both blocks belong to the caller and go back to HttpFree, after a failed exchange as well
    //   source     windows: WinHTTP; linux: libcurl
    std::uint32_t (*HttpRequest)(const char* method, const char* url, const HttpHeaderPair* headers,
                                 std::uint32_t headerCount, const char* body, std::uint32_t flags,
                                 std::uint32_t* status, char** responseBody, char** responseHeaders,
                                 void* context);

    // Uploads one file as a multipart/form-data part named "file"; streams it. The Content-Type header that
    // carries `boundary` is the caller's.
    //   returns    0; 0x80000002 null argument or bad URL; 0x81000001 the file can't be opened; 0x81000006
    //              the network; 0x80000001 text that is not UTF-8, and anything else
    //   edges      a missing file is created empty and sent empty
    //   owner      as HttpRequest
    std::uint32_t (*HttpUploadFile)(const char* method, const char* url, const HttpHeaderPair* headers,
                                    std::uint32_t headerCount, const char* boundary, const char* filePath,
                                    const char* fileName, std::uint32_t* status, char** responseBody);

    // Takes back a block of HttpRequest or HttpUploadFile; null is accepted. Returns 0.
    std::uint32_t (*HttpFree)(void* block, void* context);

    // A block of `size` bytes, not cleared; null for size 0 and when memory is exhausted. Never throws.
    void* (*Alloc)(std::size_t size);

    // Takes back a block of Alloc; null is accepted.
    void (*Free)(void* block);

    // As memset, memcpy and memmove; nothing happens when a pointer is null.
    void (*MemSet)(void* block, std::uint8_t byte, std::size_t size);
    void (*MemCopy)(void* target, const void* source, std::size_t size);
    void (*MemMove)(void* target, const void* source, std::size_t size);

    // As memcmp; 0 when either pointer is null.
    int (*MemCompare)(const void* left, const void* right, std::size_t size);

    // The time in seconds since 1970 in UTC.
    //   returns    0; 0x8100000A null argument or no clock
    //   source     windows: GetSystemTime; linux: clock_gettime(2), CLOCK_REALTIME
    std::uint32_t (*GetTime)(std::uint64_t* seconds, void* context);

    // Checks an RSA or EC signature over SHA-384 of `message`.
    //   keyText    public key, PEM
    //   signature  base64 text of `signatureSize` characters, no line breaks
    //   verdict    out: 1 unless the check says no. Look at it and not only at the result: a key that can't
    //              be read and a signature that decodes to nothing give success with verdict 0, and an error
    //              of the check itself gives verdict 1. Do not build a decision on it before that is changed
    //   returns    0; 0x80000002 null argument; 0x8100000D
    std::uint32_t (*VerifySignature)(const char* keyText, const char* message, const char* signature,
                                     std::uint32_t signatureSize, std::uint32_t* verdict, void* context);

    // Blowfish in ECB mode, in place; the key is the MD5 of `keyText` with its terminating zero byte.
    //   size       a multiple of 8; 0 does nothing
    //   returns    0; 0x80000002 null key or buffer; 0x8100000C the digest failed
    std::uint32_t (*Encrypt)(const char* keyText, void* buffer, std::uint32_t size, void* context);
    std::uint32_t (*Decrypt)(const char* keyText, void* buffer, std::uint32_t size, void* context);

    // Digests of `size` bytes at `data`, in a new block of 64, 32 and 16 bytes.
    //   returns    0; 0x80000002 null argument; 0x80000001 out of memory; 0x81000011 Md5 failed
    //   owner      the caller, by FreeCryptoBuffer
    std::uint32_t (*Sha512)(const void* data, std::uint32_t size, std::uint8_t** digest,
                            std::uint32_t* digestSize, void* context);
    std::uint32_t (*Sha256)(const void* data, std::uint32_t size, std::uint8_t** digest,
                            std::uint32_t* digestSize, void* context);
    std::uint32_t (*Md5)(const void* data, std::uint32_t size, std::uint8_t** digest,
                         std::uint32_t* digestSize, void* context);

    // Recovers what was signed with the private half of `keyText` (no padding; leading zero bytes dropped).
    //   size       must equal the modulus' size in bytes
    //   plain      out: a new block, null when every byte was zero
    //   returns    0; 0x80000002 null argument; 0x80000001 wrong size; 0x81000010 key or operation failed
    //   owner      the caller, by FreeCryptoBuffer
    std::uint32_t (*RsaPublicDecrypt)(const char* keyText, const void* block, std::uint32_t size,
                                      std::uint8_t** plain, std::uint32_t* plainSize, void* context);

    // Takes back a block of the crypto operations; null is accepted.
    void (*FreeCryptoBuffer)(void* block, void* context);
};

// Later fields of the start-up record stand behind the table, so its size is interface too.
static_assert(sizeof(PlatformTable) == 25 * sizeof(void*));

// The table that the platform of this build fills; all 25 entries are set. Defined once, under platform/.
[[nodiscard]] const PlatformTable& DefaultPlatformTable() noexcept;

}  // namespace quillmarkclient_core
