/* The one list of CalTypes. Every per-CalType declaration, export, table row
 * and state instance is generated from it; nothing else names all 59.
 *
 * Columns: number, block layout (BASE or LONG), has a GetITValue_NN (1/0),
 * family (one of KALVIRO_FAMILIES below), and the last tempRange code it
 * reads: 4, or 5 for the older members that run the four-range frame.
 * Every CalType of the list converts and sits in kalviro_table. */
#ifndef KALVIRO_CALTYPES_H
#define KALVIRO_CALTYPES_H

#define KALVIRO_CALTYPES(X)    \
    X(12, BASE, 0, Direct, 5)  \
    X(20, BASE, 1, Direct, 4)  \
    X(21, BASE, 1, Direct, 4)  \
    X(22, BASE, 0, Direct, 4)  \
    X(23, BASE, 1, Direct, 4)  \
    X(24, BASE, 1, Direct, 4)  \
    X(25, BASE, 1, Direct, 4)  \
    X(26, BASE, 1, Direct, 4)  \
    X(27, BASE, 1, Direct, 4)  \
    X(50, LONG, 1, Direct, 4)  \
    X(51, LONG, 1, Direct, 4)  \
    X(52, LONG, 1, Direct, 4)  \
    X(54, LONG, 1, Direct, 4)  \
    X(55, LONG, 1, Direct, 4)  \
    X(56, BASE, 1, Direct, 4)  \
    X(57, BASE, 1, Direct, 4)  \
    X(58, BASE, 1, Direct, 4)  \
    X(60, BASE, 0, Direct, 5)  \
    X(61, BASE, 0, Ladder, 5)  \
    X(62, BASE, 0, Ladder, 5)  \
    X(70, BASE, 1, Direct, 4)  \
    X(71, BASE, 1, Ladder, 4)  \
    X(72, BASE, 1, Ladder, 4)  \
    X(73, BASE, 1, Ladder, 4)  \
    X(74, BASE, 1, Ladder, 4)  \
    X(75, BASE, 1, Ladder, 4)  \
    X(76, BASE, 1, Ladder, 4)  \
    X(77, BASE, 1, Ladder, 4)  \
    X(78, BASE, 1, Ladder, 4)  \
    X(80, BASE, 1, Direct, 4)  \
    X(81, BASE, 1, Ladder, 4)  \
    X(82, BASE, 1, Ladder, 4)  \
    X(83, BASE, 1, Ladder, 4)  \
    X(84, BASE, 1, Ladder, 4)  \
    X(85, BASE, 1, Ladder, 4)  \
    X(90, BASE, 1, Direct, 4)  \
    X(91, BASE, 1, Ladder, 4)  \
    X(92, BASE, 1, Ladder, 4)  \
    X(93, BASE, 1, Ladder, 4)  \
    X(94, BASE, 1, Ladder, 4)  \
    X(95, BASE, 1, Ladder, 4)  \
    X(96, BASE, 1, Ladder, 4)  \
    X(100, BASE, 1, Direct, 4) \
    X(101, BASE, 1, Ladder, 4) \
    X(102, BASE, 1, Ladder, 4) \
    X(110, LONG, 1, Direct, 4) \
    X(111, LONG, 1, Ladder, 4) \
    X(120, LONG, 1, Direct, 4) \
    X(121, LONG, 1, Ladder, 4) \
    X(130, BASE, 1, Ladder, 4) \
    X(131, BASE, 1, Ladder, 4) \
    X(132, BASE, 1, Ladder, 4) \
    X(133, BASE, 1, Ladder, 4) \
    X(134, BASE, 1, Ladder, 4) \
    X(135, BASE, 1, Ladder, 4) \
    X(136, BASE, 1, Ladder, 4) \
    X(137, BASE, 1, Ladder, 4) \
    X(138, BASE, 1, Ladder, 4) \
    X(140, BASE, 1, Ladder, 4)

#define KALVIRO_CALTYPE_COUNT 59

/* The one list of families: the name of the kalviro::Family enumerator, and
 * the engine's folder under src/ and namespace, which is also the name the
 * command and the Python package show. A new family adds its line here and
 * its folder, whose family.hpp defines ns::Trait.
 *   Direct  emissivity by one polynomial or Esp_Table
 *   Ladder  emissivity by the shared polynomial ladder */
#define KALVIRO_FAMILIES(X) \
    X(Direct, direct)       \
    X(Ladder, ladder)

/* Helpers to act on one column: KALVIRO_IF_1(x) expands to x, KALVIRO_IF_0 to
 * nothing, so a column value can switch a declaration on or off. */
#define KALVIRO_IF_1(...) __VA_ARGS__
#define KALVIRO_IF_0(...)
#define KALVIRO_IF_(flag, ...) KALVIRO_IF_##flag(__VA_ARGS__)
#define KALVIRO_IF(flag, ...) KALVIRO_IF_(flag, __VA_ARGS__)

#endif
