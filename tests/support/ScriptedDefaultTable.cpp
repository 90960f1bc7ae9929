#include "tests/support/ScriptedDefaultTable.h"

namespace test {

quillmarkclient_core::PlatformTable& ScriptedDefaultTable() noexcept {
    static quillmarkclient_core::PlatformTable table{};
    return table;
}

}  // namespace test

const quillmarkclient_core::PlatformTable& quillmarkclient_core::DefaultPlatformTable() noexcept {
    return test::ScriptedDefaultTable();
}
