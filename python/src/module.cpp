// The extension behind the kalviro package: the CalType list, the version,
// kalviro.Camera, and a timing entry for the benchmark script.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include "camera.hpp"
#include "kalviro.hpp"
#include "kalviro_fields.hpp"
#include "views.hpp"

namespace py = pybind11;
using namespace pybind11::literals;

namespace kalviro::binding {
namespace {

// (caltype, family, layout, has_get_it, temp_ranges) for each CalType of the
// list.
py::list calTypes() {
    py::list rows;
    for (const CalTypeInfo& c : kCalTypes) {
        std::vector<int> ranges;
        for (int32_t r = 2; r <= c.lastTempRange; ++r) ranges.push_back(r);
        rows.append(py::make_tuple(c.calType, familyName(c.family),
                                   c.layout == Layout::Long ? "long" : "base", c.hasGetIT,
                                   py::tuple(py::cast(ranges))));
    }
    return rows;
}

std::string version() {
    char text[16] = {};
    KALVIRO_GetVersionMinute(text);
    return text;
}

py::bytes blockBytes(py::handle block) {
    const BlockView b(block, false);
    return py::bytes(reinterpret_cast<const char*>(b.info()), sizeof(TempFrameInfo));
}

// What Camera.convert does, timed in C++ alone: the per-frame call and the
// whole frame through a table, `repeats` times into one output; seconds per
// frame. The yardstick for the Python call's overhead.
std::vector<double> timeConvert(int32_t calType, py::handle image, py::handle block, float emissivity,
                                int repeats) {
    const ImageView img(image);
    const BlockView b(block, true);
    Camera camera(calType);
    if (!camera.valid()) throw py::value_error("CalType " + std::to_string(calType) + " does not convert");
    std::vector<uint16_t> scratch;
    const uint16_t* pixels = img.pixels(scratch);
    std::vector<float> out(static_cast<std::size_t>(img.count()));
    auto table = std::make_unique<KalviroFrameTable>();
    std::vector<double> seconds;
    py::gil_scoped_release released;
    for (int i = 0; i < repeats; ++i) {
        const auto start = std::chrono::steady_clock::now();
        camera.init(img.count() != 0 ? pixels[0] : 0, b.info(), emissivity, 0.0f);
        camera.realFrame(pixels, img.count(), b.info(), emissivity, 0.0f, out.data(), *table);
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return seconds;
}

// The library's table of block fields: (name, offset, struct format,
// divisor, unit, layouts), the layouts "both", "base" or "long".
py::list blockFieldTable() {
    py::list rows;
    for (const BlockField& f : kBlockFields) {
        std::string format;
        switch (f.type) {
            case FieldType::Float: format = "<" + std::to_string(f.count) + "f"; break;
            case FieldType::Int32: format = "<" + std::to_string(f.count) + "i"; break;
            case FieldType::Bytes: format = std::to_string(f.count) + "s"; break;
        }
        const char* layouts = f.layouts == FieldLayouts::Both   ? "both"
                              : f.layouts == FieldLayouts::Base ? "base"
                                                                : "long";
        rows.append(py::make_tuple(f.name, f.offset, format, f.divisor, f.unit, layouts));
    }
    return rows;
}

}  // namespace
}  // namespace kalviro::binding

PYBIND11_MODULE(_kalviro, m) {
    using namespace kalviro::binding;
    m.doc() = "kalviro's C++ API for Python; use the kalviro package.";
    m.attr("__version__") = KALVIRO_VERSION_TEXT;
    // The float nearest the default's six digits (0.95), as Python spells it.
    char emissivity[32];
    std::snprintf(emissivity, sizeof emissivity, "%.6g", static_cast<double>(kalviro::kDefaultEmissivity));
    m.attr("DEFAULT_EMISSIVITY") = std::stod(emissivity);
    m.def("version", &version, "The library's version text, e.g. 'V_0.0.29'.");
    m.def("_cores", &kalviro_cores, "The cores this process may run on, as the library counts them.");
    m.def("_caltypes", &calTypes);
    m.def("_block_bytes", &blockBytes, "block"_a);
    m.def("_block_field_table", &blockFieldTable);
    m.def("_time_convert", &timeConvert, "caltype"_a, "image"_a, "block"_a, "emissivity"_a, "repeats"_a);
    bindCamera(m);
}
