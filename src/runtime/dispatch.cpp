#include "runtime/level_table.h"

namespace rvn {

namespace level1 {
extern const LevelTable levelTable;
}
namespace level2 {
extern const LevelTable levelTable;
}
namespace level3 {
extern const LevelTable levelTable;
}
namespace level4 {
extern const LevelTable levelTable;
}
namespace level5 {
extern const LevelTable levelTable;
}
namespace level6 {
extern const LevelTable levelTable;
}
namespace level7 {
extern const LevelTable levelTable;
}
namespace level8 {
extern const LevelTable levelTable;
}
namespace level9 {
extern const LevelTable levelTable;
}

const LevelTable* const levelTables[10] = {
    &level1::levelTable, &level1::levelTable, &level2::levelTable, &level3::levelTable, &level4::levelTable,
    &level5::levelTable, &level6::levelTable, &level7::levelTable, &level8::levelTable, &level9::levelTable,
};

}  // namespace rvn
