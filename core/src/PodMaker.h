#pragma once

#include "core/src/PlainRecords.h"
#include "core/src/registry/Records.h"
#include "core/src/registry/ServiceErrorInfo.h"
#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace quillmarkclient {

// Makes the plain records that go out, each as one block of the platform table's Alloc: header, lists and
// strings one behind the other, so that one FreeMemory takes everything back.
//
// Every string has its own terminator in the block, an empty one too: no pointer in a record is null, the
// ends of lists apart. Blocks of 4 GiB and more are refused like an allocation that failed.
//
// Each gives null without memory, reported as "core/src/PodMaker"; nothing is left behind then. None throws.
struct PodMaker {
    PodMaker() = delete;

    /// A list of pointers ended by a null pointer.
    ///   layout   n + 1 pointers, rounded up to an even number; n entries; id and name of each entry
    [[nodiscard]] static CustomerContext** MakeCustomerContexts(
        const portable_stl::vector<registry::ContextEntry>& contexts);

    ///   layout   the record; id, first name, last name, email
    [[nodiscard]] static CustomerData* MakeCustomerData(const registry::CustomerInfo& info);

    ///   layout   the record; n pairs; n + 1 pointers to them; the record's strings in its order; name and
    ///            value of each pair
    [[nodiscard]] static ServiceErrorRecord* MakeServiceErrorRecord(const registry::ServiceErrorInfo& info);

    ///   layout   the record; its strings in its order
    [[nodiscard]] static ProductUpdateInfo* MakeProductUpdateInfo(const portable_stl::string& version,
                                                                  const portable_stl::string& description,
                                                                  const portable_stl::string& url);
    [[nodiscard]] static PrincipalAdmin* MakePrincipalAdmin(const portable_stl::string& id,
                                                            const portable_stl::string& name,
                                                            const portable_stl::string& email,
                                                            const portable_stl::string& description);

    /// A text of its own: length + 1 bytes.
    [[nodiscard]] static char* MakeString(const portable_stl::string& text);
};

}  // namespace quillmarkclient
