#pragma once

// Message blocks written by hand from the byte layout (big-endian, stream version 20), one
// field per line, as hex text. No Qt here: the Windows programs run under Wine read the same
// blocks as the Qt tests, the fuzzer's seed corpus and the benchmark (golden_vectors.h).

namespace golden {

// 37 fields of a default SupplyInformation except those given, each as it travels.
#define KX_SUPPLY_FIELDS(SUPPLY_ID, LABEL_WIDTH)                                               \
    SUPPLY_ID                   /*  1 supplyId */                                              \
    "ffffffff"                  /*  2 partNumber: null string */                               \
    "00000000"                  /*  3 compatibleModels: 0 strings */                           \
    LABEL_WIDTH                 /*  4 labelWidth as double */                                  \
    "ffffffff"                  /*  5 supplyType -1 */                                         \
    "ffffffff"                  /*  6 description: null */                                     \
    "ffffffff"                  /*  7 material: null */                                        \
    "bff0000000000000"          /*  8 labelHeight -1.0 */                                      \
    "ffffffff"                  /*  9 mediaKind -1 */                                          \
    "ffffffff"                  /* 10 colorName: null */                                       \
    "ffffffff"                  /* 11 colorIndex -1 */                                         \
    "ffffffff"                  /* 12 lotNumber: null */                                       \
    "ffffffff"                  /* 13 serialNumber: null */                                    \
    "ffffffff"                  /* 14 remainingLabels -1 */                                    \
    "ffffffff"                  /* 15 ribbonId: null */                                        \
    "ffffffff"                  /* 16 ribbonColor: null */                                     \
    "bff0000000000000"          /* 17 ribbonWidth -1.0 */                                      \
    "00000001"                  /* 18 copies 1 */                                              \
    "ffffffff"                  /* 19 chipData: null byte array */                             \
    "bff0000000000000"          /* 20 gapSize -1.0 */                                          \
    "bff0000000000000"          /* 21 linerWidth -1.0 */                                       \
    "ffffffff"                  /* 22 labelsPerRow -1 */                                       \
    "ffffffff"                  /* 23 labelsPerColumn -1 */                                    \
    "ffffffff"                  /* 24 printDirection -1 */                                     \
    "bff0000000000000"          /* 25 marginLeft -1.0 */                                       \
    "bff0000000000000"          /* 26 marginTop -1.0 */                                        \
    "bff0000000000000"          /* 27 marginRight -1.0 */                                      \
    "bff0000000000000"          /* 28 marginBottom -1.0 */                                     \
    "00000000"                  /* 29 fontNames: 0 strings */                                  \
    "00000000"                  /* 30 layoutAreas: 0 variants */                               \
    "00000000"                  /* 31 printAreas */                                            \
    "00000000"                  /* 32 cutPositions */                                          \
    "00000000"                  /* 33 notchPositions */                                        \
    "00000000"                  /* 34 extraProperties */                                       \
    "00000000"                  /* 35 warnings: 0 strings */                                   \
    "00000001"                  /* 36 revision 1 */                                            \
    "bff0000000000000"          /* 37 maximumLength -1.0 */

inline constexpr const char *defaultRecordHex =
        "00"                            // methodType 0
        "ffffffff"                      // methodName: null string
        "ffffffff"                      // dataType: null string
        "00000000"                      // arguments: 0 elements
        "00000000" "01";                // data: invalid type id, null flag set

inline constexpr const char *statusBroadcastHex =
        "00"                            // methodType 0
        "00000002" "002d"               // methodName "-"
        "00000002" "002d"               // dataType "-"
        "00000004"                      // arguments: 4 elements
        "00000002" "00" "00000003"      //   int 3 (status)
        "0000000a" "00" "00000004" "0050" "0031"    // QString "P1"
        "0000000a" "00" "00000002" "002d"           // QString "-"
        "0000000a" "00" "00000002" "002d"           // QString "-"
        "0000000a" "00" "00000002" "002d";          // data: QString "-"

inline constexpr const char *closeBroadcastHex =
        "00"                            // methodType 0
        "00000002" "002d"               // methodName "-"
        "00000002" "002d"               // dataType "-"
        "00000004"                      // arguments: 4 elements
        "0000000a" "00" "00000002" "002d"           // "-"
        "0000000a" "00" "00000002" "002d"           // "-"
        "0000000a" "00" "00000002" "002d"           // "-"
        "0000000a" "00" "00000002" "002d"           // "-"
        "0000000a" "00" "00000002" "002d";          // data: "-"

inline constexpr const char *ribbonBroadcastHex =
        "00"                            // methodType 0
        "00000002" "002d"               // methodName "-"
        "00000002" "002d"               // dataType "-"
        "00000004"                      // arguments: 4 elements
        "0000000b" "00" "00000002"      //   QStringList, 2 strings
        "0000000a" "0052002d003100300030"           //     "R-100"
        "0000000a" "0052002d003200300030"           //     "R-200"
        "0000000a" "00" "00000018"      //   QString, 24 bytes: "Büro-Drucker"
        "0042" "00fc" "0072" "006f" "002d" "0044" "0072" "0075" "0063" "006b" "0065" "0072"
        "0000000a" "00" "00000002" "002d"           //   "-"
        "0000000a" "00" "00000002" "002d"           //   "-"
        "0000000a" "00" "00000002" "002d";          // data: "-"

inline constexpr const char *moduleReadyHex =
        "00"                            // methodType 0
        "00000022"                      // methodName, 34 bytes: "supplyModuleReady"
        "0073 0075 0070 0070 006c 0079 004d 006f 0064 0075 006c 0065 0052 0065 0061 0064 0079"
        "00000002" "0076"               // dataType "v"
        "00000003"                      // arguments: 3 elements
        "00000002" "00" "000004d2"      //   int 1234 (window id)
        "00000002" "00" "0000162e"      //   int 5678 (process id)
        "0000000a" "00" "00000016"      //   QString, 22 bytes: "PipeMarking"
        "0050 0069 0070 0065 004d 0061 0072 006b 0069 006e 0067"
        "00000000" "01";                // data: null variant

inline constexpr const char *uintReplyHex =
        "01"                            // methodType 1
        "00000014"                      // methodName, 20 bytes: "labelsLeft"
        "006c 0061 0062 0065 006c 0073 004c 0065 0066 0074"
        "00000002" "006a"               // dataType "j"
        "00000002"                      // arguments: 2 elements
        "0000000a" "00" "00000004" "0050 0031"      //   "P1"
        "0000000a" "00" "00000002" "002d"           //   "-"
        "00000003" "00" "00000007";     // data: uint 7

inline constexpr const char *supplyReplyHex =
        "00"                            // methodType 0
        "00000014"                      // methodName, 20 bytes: "supplyInfo"
        "0073 0075 0070 0070 006c 0079 0049 006e 0066 006f"
        "00000026"                      // dataType, 38 bytes: "17SupplyInformation"
        "0031 0037 0053 0075 0070 0070 006c 0079 0049 006e 0066 006f 0072 006d 0061 0074 0069 006f 006e"
        "00000002"                      // arguments: 2 elements
        "0000000a" "00" "00000004" "0050 0031"      //   "P1"
        "0000000a" "00" "00000002" "002d"           //   "-"
        // data: the bare 37 fields, no variant header
        KX_SUPPLY_FIELDS("00000004" "0053 0031" /* "S1" */, "3fe0000000000000" /* 0.5 */);

inline constexpr const char *supplyArgumentHex =
        "00"                            // methodType 0
        "00000002" "002d"               // methodName "-"
        "00000002" "002d"               // dataType "-"
        "00000002"                      // arguments: 2 elements
        "00010000" "00"                 //   user type, not null
        "00000012"                      //   type name, 18 bytes with its NUL
        "5375 7070 6c79 496e 666f 726d 6174 696f 6e00"  // "SupplyInformation\0"
        KX_SUPPLY_FIELDS("00000004" "0053 0031" /* "S1" */, "3fe0000000000000" /* 0.5 */)
        "0000000a" "00" "00000002" "002d"           //   "-"
        "0000000a" "00" "00000002" "002d";          // data: "-"

struct HexVector
{
    const char *name;
    const char *hex;
};

// Every block, in the order golden::all() pairs them with their records.
inline constexpr HexVector hexVectors[] = {
    { "default record", defaultRecordHex },
    { "status broadcast", statusBroadcastHex },
    { "close broadcast", closeBroadcastHex },
    { "ribbon broadcast", ribbonBroadcastHex },
    { "supplyModuleReady report", moduleReadyHex },
    { "j reply", uintReplyHex },
    { "supply reply", supplyReplyHex },
    { "supply argument", supplyArgumentHex },
};

} // namespace golden
