// The table of operations that every type_info of Visual C++ begins with. Whoever matches types of
// exceptions compares their names and calls no operation.
extern const void* const g_typeInfoTable[2] __asm__("??_7type_info@@6B@");
const void* const g_typeInfoTable[2] = {};
