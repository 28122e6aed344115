#include "camera.hpp"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "views.hpp"

namespace kalviro::binding {

namespace {

// Degrees as the int32 hundredths the inverse search works in, to the
// nearest hundredth.
int32_t hundredths(double degrees, const char* name) {
    const double h = std::nearbyint(degrees * 100.0);
    if (!(h >= std::numeric_limits<int32_t>::min() && h <= std::numeric_limits<int32_t>::max())) {
        throw py::value_error(std::string(name) +
                              ": expected a finite temperature within +-21 million degrees");
    }
    return static_cast<int32_t>(h);
}

// The CalType, once it is known to be one of the list.
int32_t converting(int32_t calType) {
    if (findCalType(calType) == nullptr) {
        throw py::value_error("CalType " + std::to_string(calType) +
                              " is not a CalType: see kalviro.caltypes()");
    }
    return calType;
}

// Refused as the command refuses it: the library takes any float, and gives
// nonsense (about -21474836 degrees) for an emissivity of 95.
void checkEmissivity(float e) {
    if (!(std::isfinite(e) && e > 0.0f && e <= 1.0f)) {
        throw py::value_error("bad emissivity " + py::str(py::float_(e)).cast<std::string>() +
                              ": expected a number above 0 and at most 1");
    }
}

}  // namespace

PyCamera::PyCamera(int32_t calType) : camera_(converting(calType)) {}

float PyCamera::init(int32_t gray, py::handle block, float emissivity, float distance) {
    checkEmissivity(emissivity);
    BlockView b(block, true);
    return locked([&] { return camera_.init(gray, b.info(), emissivity, distance); });
}

float PyCamera::real(int32_t gray, py::handle block, float emissivity, float distance) {
    checkEmissivity(emissivity);
    BlockView b(block, false);
    return locked([&] { return camera_.real(gray, b.info(), emissivity, distance); });
}

float PyCamera::once(int32_t gray, py::handle block, float emissivity, float distance) {
    checkEmissivity(emissivity);
    BlockView b(block, true);
    return locked([&] { return camera_.once(gray, b.info(), emissivity, distance); });
}

py::object PyCamera::getIT(py::handle block) {
    BlockView b(block, false);
    if (!findCalType(calType())->hasGetIT) return py::none();
    return py::float_(camera_.getIT(b.info()));
}

py::dict PyCamera::tempPara(py::handle block) {
    BlockView b(block, false);
    TempPara p{};
    camera_.getTempPara(b.info(), &p);
    py::dict d;
    d["lensType"] = p.lensType;
    d["paraA"] = p.paraA;
    d["paraB"] = p.paraB;
    d["distance"] = p.distance;
    d["humidity"] = p.humidity;
    d["envTemp"] = p.envTemp;
    d["paraBlob"] = py::bytes(reinterpret_cast<const char*>(p.paraBlob), sizeof p.paraBlob);
    return d;
}

int32_t PyCamera::temp2gray(py::handle block, double temp, double tempMin, double tempMax, int32_t grayMin,
                            int32_t grayMax, float emissivity) {
    checkEmissivity(emissivity);
    BlockView b(block, false);
    const int32_t target = hundredths(temp, "temp");
    const int32_t low = hundredths(tempMin, "temp_min");
    const int32_t high = hundredths(tempMax, "temp_max");
    return locked(
        [&] { return camera_.temp2gray(b.info(), low, high, grayMin, grayMax, target, emissivity); });
}

py::array PyCamera::convert(py::handle image, py::handle block, float emissivity, float distance,
                            py::handle out, int32_t threads) {
    return convertWith(nullptr, image, block, emissivity, distance, out, threads);
}

py::array PyCamera::convertPart(int32_t gray, py::handle image, py::handle block, float emissivity,
                                float distance, py::handle out, int32_t threads) {
    return convertWith(&gray, image, block, emissivity, distance, out, threads);
}

py::array PyCamera::convertWith(const int32_t* gray, py::handle image, py::handle block, float emissivity,
                                float distance, py::handle out, int32_t threads) {
    checkEmissivity(emissivity);
    const ImageView img(image);
    const BlockView b(block, true);
    const OutView to(out, img, b);
    {
        py::gil_scoped_release released;
        std::lock_guard<std::mutex> lock(mutex_);
        if (!table_) table_ = std::make_unique<KalviroFrameTable>();
        const uint16_t* pixels = img.pixels(scratch_);
        const int32_t first = gray ? *gray : img.count() != 0 ? pixels[0] : 0;
        camera_.init(first, b.info(), emissivity, distance);
        camera_.realFrame(pixels, img.count(), b.info(), emissivity, distance, to.data(), *table_, threads);
    }
    return to.array();
}

py::bytes PyCamera::state() {
    unsigned char bytes[Camera::kStateSize];
    locked([&] { camera_.saveState(bytes); });
    return py::bytes(reinterpret_cast<const char*>(bytes), sizeof bytes);
}

void PyCamera::loadState(py::bytes state) {
    const std::string bytes = state;
    if (bytes.size() != Camera::kStateSize) {
        throw py::value_error("camera state: expected " + std::to_string(Camera::kStateSize) +
                              " bytes, got " + std::to_string(bytes.size()));
    }
    locked([&] { camera_.loadState(reinterpret_cast<const unsigned char*>(bytes.data())); });
}

void bindCamera(py::module_& m) {
    using namespace pybind11::literals;
    py::class_<PyCamera>(m, "Camera", R"(A camera on one CalType, with its own statics.

Camera(caltype) raises ValueError for a CalType that does not convert.
Temperatures are degrees Celsius, emissivity a fraction above 0 and at most 1
(1.0: a perfect radiator; 0.95 when not given, as in the command; others
raise ValueError),
distance metres (the block's distance field decides; the argument has no
effect). A block is 512 bytes: bytes, bytearray, memoryview or a uint8
array; calls that run the per-frame stage write fields back into it and need
it writable.)")
        .def(py::init<int32_t>(), "caltype"_a)
        .def_property_readonly("caltype", &PyCamera::calType, "The CalType number.")
        .def("__repr__",
             [](const PyCamera& c) { return "kalviro.Camera(" + std::to_string(c.calType()) + ")"; })
        .def("init", &PyCamera::init, "gray"_a, "block"_a,
             py::arg_v("emissivity", kDefaultEmissivity, "0.95"), "distance"_a = 0.0f,
             "The per-frame call: rebuilds the statics from the block, writes fields back, returns the "
             "temperature of gray.")
        .def("real", &PyCamera::real, "gray"_a, "block"_a,
             py::arg_v("emissivity", kDefaultEmissivity, "0.95"), "distance"_a = 0.0f,
             "The per-pixel call on the statics of the last per-frame call; writes nothing.")
        .def("once", &PyCamera::once, "gray"_a, "block"_a,
             py::arg_v("emissivity", kDefaultEmissivity, "0.95"), "distance"_a = 0.0f,
             "The per-frame then the per-pixel call, for one spot.")
        .def("get_it", &PyCamera::getIT, "block"_a,
             "GetITValue of the block, or None for a CalType without one (12, 22, 60, 61, 62).")
        .def("temp_para", &PyCamera::tempPara, "block"_a,
             "The TempPara record: lensType, paraA, paraB, distance, humidity, envTemp as the raw int32 "
             "words of the block (hundredths of a metre and of a degree), and the 81 bytes of paraBlob "
             "(zero in the base layout).")
        .def("temp2gray", &PyCamera::temp2gray, "block"_a, "temp"_a, "temp_min"_a, "temp_max"_a, "gray_min"_a,
             "gray_max"_a, py::arg_v("emissivity", kDefaultEmissivity, "0.95"),
             "The gray value whose per-pixel temperature is within 0.20 degrees of temp, searched on the "
             "scale from (temp_min, gray_min) to (temp_max, gray_max); temperatures in degrees, rounded "
             "to hundredths. Needs the per-frame call for this block first.")
        .def("convert", &PyCamera::convert, "image"_a, "block"_a,
             py::arg_v("emissivity", kDefaultEmissivity, "0.95"), "distance"_a = 0.0f, "out"_a = py::none(),
             "threads"_a = 1,
             "Converts a frame: the per-frame call with the image's first pixel, which writes its fields "
             "back into block, then every pixel of the 2-D uint16 image (any strides) through the "
             "whole-frame table. Returns a new float32 array of the image's shape, or fills out (float32, "
             "C-contiguous, that shape) and returns it. threads > 1 shares the frame with the library's "
             "workers (the same bits). The GIL is released meanwhile.")
        .def("_convert_part", &PyCamera::convertPart, "gray"_a, "image"_a, "block"_a, "emissivity"_a,
             "distance"_a, "out"_a = py::none(), "threads"_a = 1)
        .def("_state", &PyCamera::state)
        .def("_load_state", &PyCamera::loadState, "state"_a)
        .def_static("_state_layout", &Camera::stateLayout);
}

}  // namespace kalviro::binding
