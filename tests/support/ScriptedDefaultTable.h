// The platform of the build, played by a test: a program that links quillmark_scripted_default_table in place
// of a platform's library starts its clients on this table.
#pragma once

#include "core/src/system/PlatformTable.h"

namespace test {

/// What DefaultPlatformTable() hands out from now on; empty at first.
[[nodiscard]] quillmarkclient_core::PlatformTable& ScriptedDefaultTable() noexcept;

}  // namespace test
