#include "velutramodulecolumns.h"

#include "velutracommands.h"

namespace VelutraModuleColumns {

namespace {

using Kind = VelutraHgModuleKind;

// clang-format off
const VelutraModuleColumn s_columns[Count] = {
    //       humidity      enable query                            oven 2 crystal      recorded
    // name  shown polled                                          shown  shown polled kind
    {"S",    true, true,   &VelutraCommands::shgModuleEnableQuery, false, false, false, Kind::Shg},
    {"T",    false, false, &VelutraCommands::thgModuleEnableQuery, true,  true,  true,  Kind::Thg},
    {"Ti",   true, true,   &VelutraCommands::thgModuleEnableQuery, true,  true,  true,  Kind::Thg},
};
// clang-format on

} // namespace

const VelutraModuleColumn &column(int index)
{
    Q_ASSERT(index >= 0 && index < Count);
    return s_columns[index];
}

} // namespace VelutraModuleColumns
