/* The one list of CalTypes. Every per-CalType declaration, export, table row
 * and state instance is generated from it; nothing else names all 59.
 *
 * Columns: number, block layout (BASE or LONG), has a GetITValue_NN (1/0),
 * family. The family says which engine converts the CalType:
 *   DIRECT   emissivity by one polynomial or Esp_Table, tempRange 2 to 4
 *   DIRECT4  the older Direct members with tempRange 2 to 5 (12, 60)
 *   LADDER   emissivity by the shared polynomial ladder, tempRange 2 to 4
 *   LADDER4  the ladder members with tempRange 2 to 5 (61, 62)
 * Every CalType of the list converts and sits in kalviro_table. */
#ifndef KALVIRO_CALTYPES_H
#define KALVIRO_CALTYPES_H

#define KALVIRO_CALTYPES(X) \
    X(12, BASE, 0, DIRECT4) \
    X(20, BASE, 1, DIRECT)  \
    X(21, BASE, 1, DIRECT)  \
    X(22, BASE, 0, DIRECT)  \
    X(23, BASE, 1, DIRECT)  \
    X(24, BASE, 1, DIRECT)  \
    X(25, BASE, 1, DIRECT)  \
    X(26, BASE, 1, DIRECT)  \
    X(27, BASE, 1, DIRECT)  \
    X(50, LONG, 1, DIRECT)  \
    X(51, LONG, 1, DIRECT)  \
    X(52, LONG, 1, DIRECT)  \
    X(54, LONG, 1, DIRECT)  \
    X(55, LONG, 1, DIRECT)  \
    X(56, BASE, 1, DIRECT)  \
    X(57, BASE, 1, DIRECT)  \
    X(58, BASE, 1, DIRECT)  \
    X(60, BASE, 0, DIRECT4) \
    X(61, BASE, 0, LADDER4) \
    X(62, BASE, 0, LADDER4) \
    X(70, BASE, 1, DIRECT)  \
    X(71, BASE, 1, LADDER)  \
    X(72, BASE, 1, LADDER)  \
    X(73, BASE, 1, LADDER)  \
    X(74, BASE, 1, LADDER)  \
    X(75, BASE, 1, LADDER)  \
    X(76, BASE, 1, LADDER)  \
    X(77, BASE, 1, LADDER)  \
    X(78, BASE, 1, LADDER)  \
    X(80, BASE, 1, DIRECT)  \
    X(81, BASE, 1, LADDER)  \
    X(82, BASE, 1, LADDER)  \
    X(83, BASE, 1, LADDER)  \
    X(84, BASE, 1, LADDER)  \
    X(85, BASE, 1, LADDER)  \
    X(90, BASE, 1, DIRECT)  \
    X(91, BASE, 1, LADDER)  \
    X(92, BASE, 1, LADDER)  \
    X(93, BASE, 1, LADDER)  \
    X(94, BASE, 1, LADDER)  \
    X(95, BASE, 1, LADDER)  \
    X(96, BASE, 1, LADDER)  \
    X(100, BASE, 1, DIRECT) \
    X(101, BASE, 1, LADDER) \
    X(102, BASE, 1, LADDER) \
    X(110, LONG, 1, DIRECT) \
    X(111, LONG, 1, LADDER) \
    X(120, LONG, 1, DIRECT) \
    X(121, LONG, 1, LADDER) \
    X(130, BASE, 1, LADDER) \
    X(131, BASE, 1, LADDER) \
    X(132, BASE, 1, LADDER) \
    X(133, BASE, 1, LADDER) \
    X(134, BASE, 1, LADDER) \
    X(135, BASE, 1, LADDER) \
    X(136, BASE, 1, LADDER) \
    X(137, BASE, 1, LADDER) \
    X(138, BASE, 1, LADDER) \
    X(140, BASE, 1, LADDER)

#define KALVIRO_CALTYPE_COUNT 59

/* Helpers to act on one column: KALVIRO_IF_1(x) expands to x, KALVIRO_IF_0 to
 * nothing, so a column value can switch a declaration on or off. */
#define KALVIRO_IF_1(...) __VA_ARGS__
#define KALVIRO_IF_0(...)
#define KALVIRO_IF_(flag, ...) KALVIRO_IF_##flag(__VA_ARGS__)
#define KALVIRO_IF(flag, ...) KALVIRO_IF_(flag, __VA_ARGS__)

#endif
