#include "velutramodulecolumns.h"

#include "velutracommands.h"

namespace VelutraModuleColumns {

namespace {

// clang-format off
const VelutraModuleColumn s_columns[Count] = {
    // name step 3 step 4  step 6 (enable query)                   step 8 step 13 step 14 step 16
    {"S",   true,  true,   &VelutraCommands::shgModuleEnableQuery, false, false,  false,  1},
    {"T",   false, false,  &VelutraCommands::thgModuleEnableQuery, true,  true,   true,   2},
    {"Ti",  true,  true,   &VelutraCommands::thgModuleEnableQuery, true,  true,   true,   2},
};
// clang-format on

} // namespace

const VelutraModuleColumn &column(int index)
{
    Q_ASSERT(index >= 0 && index < Count);
    return s_columns[index];
}

} // namespace VelutraModuleColumns
