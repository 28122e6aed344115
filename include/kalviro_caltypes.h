/* The one list of CalTypes. Every per-CalType declaration, export, table row
 * and state instance is generated from it; nothing else names all 59.
 *
 * Columns: number, block layout (BASE or LONG; LONG also selects the
 * whole-degree per-frame result), has a GetITValue_NN (1/0), converts
 * completely and so sits in kalviro_table (1/0). A CalType whose last column
 * is 0 is unknown to every dispatching entry. */
#ifndef KALVIRO_CALTYPES_H
#define KALVIRO_CALTYPES_H

#define KALVIRO_CALTYPES(X) \
    X(12, BASE, 0, 1)       \
    X(20, BASE, 1, 1)       \
    X(21, BASE, 1, 1)       \
    X(22, BASE, 0, 1)       \
    X(23, BASE, 1, 1)       \
    X(24, BASE, 1, 1)       \
    X(25, BASE, 1, 1)       \
    X(26, BASE, 1, 1)       \
    X(27, BASE, 1, 1)       \
    X(50, LONG, 1, 1)       \
    X(51, LONG, 1, 1)       \
    X(52, LONG, 1, 1)       \
    X(54, LONG, 1, 1)       \
    X(55, LONG, 1, 1)       \
    X(56, BASE, 1, 1)       \
    X(57, BASE, 1, 1)       \
    X(58, BASE, 1, 1)       \
    X(60, BASE, 0, 1)       \
    X(61, BASE, 0, 0)       \
    X(62, BASE, 0, 0)       \
    X(70, BASE, 1, 1)       \
    X(71, BASE, 1, 0)       \
    X(72, BASE, 1, 0)       \
    X(73, BASE, 1, 0)       \
    X(74, BASE, 1, 0)       \
    X(75, BASE, 1, 0)       \
    X(76, BASE, 1, 0)       \
    X(77, BASE, 1, 0)       \
    X(78, BASE, 1, 0)       \
    X(80, BASE, 1, 1)       \
    X(81, BASE, 1, 0)       \
    X(82, BASE, 1, 0)       \
    X(83, BASE, 1, 0)       \
    X(84, BASE, 1, 0)       \
    X(85, BASE, 1, 0)       \
    X(90, BASE, 1, 1)       \
    X(91, BASE, 1, 0)       \
    X(92, BASE, 1, 0)       \
    X(93, BASE, 1, 0)       \
    X(94, BASE, 1, 0)       \
    X(95, BASE, 1, 0)       \
    X(96, BASE, 1, 0)       \
    X(100, BASE, 1, 1)      \
    X(101, BASE, 1, 0)      \
    X(102, BASE, 1, 0)      \
    X(110, LONG, 1, 1)      \
    X(111, LONG, 1, 0)      \
    X(120, LONG, 1, 1)      \
    X(121, LONG, 1, 0)      \
    X(130, BASE, 1, 0)      \
    X(131, BASE, 1, 0)      \
    X(132, BASE, 1, 0)      \
    X(133, BASE, 1, 0)      \
    X(134, BASE, 1, 0)      \
    X(135, BASE, 1, 0)      \
    X(136, BASE, 1, 0)      \
    X(137, BASE, 1, 0)      \
    X(138, BASE, 1, 0)      \
    X(140, BASE, 1, 0)

#define KALVIRO_CALTYPE_COUNT 59

/* Helpers to act on one column: KALVIRO_IF_1(x) expands to x, KALVIRO_IF_0 to
 * nothing, so a column value can switch a declaration on or off. */
#define KALVIRO_IF_1(...) __VA_ARGS__
#define KALVIRO_IF_0(...)
#define KALVIRO_IF(flag, ...) KALVIRO_IF_##flag(__VA_ARGS__)

#endif
