// kalviro.Camera as Python sees it: a kalviro::Camera with its own
// whole-frame table, and a lock, because the GIL is let go while a frame
// converts and the statics must not change under it.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "kalviro.hpp"

namespace kalviro::binding {

namespace py = pybind11;

class PyCamera {
public:
    explicit PyCamera(int32_t calType);

    int32_t calType() const { return camera_.calType(); }
    float init(int32_t gray, py::handle block, float emissivity, float distance);
    float real(int32_t gray, py::handle block, float emissivity, float distance);
    float once(int32_t gray, py::handle block, float emissivity, float distance);
    py::object getIT(py::handle block);
    py::dict tempPara(py::handle block);
    int32_t temp2gray(py::handle block, double temp, double tempMin, double tempMax, int32_t grayMin,
                      int32_t grayMax, float emissivity);
    // The per-frame call with the image's first pixel, then every pixel
    // through the whole-frame table.
    py::array convert(py::handle image, py::handle block, float emissivity, float distance, py::handle out,
                      int32_t threads);
    // The same with the per-frame call on `gray`, the first pixel of the
    // whole frame when image is a part of it: the part's pixels convert to
    // the bits the whole frame gives them.
    py::array convertPart(int32_t gray, py::handle image, py::handle block, float emissivity, float distance,
                          py::handle out, int32_t threads);
    // The statics as bytes, and back (kalviro_camera_save and _load).
    py::bytes state();
    void loadState(py::bytes state);

private:
    py::array convertWith(const int32_t* gray, py::handle image, py::handle block, float emissivity,
                          float distance, py::handle out, int32_t threads);

    // Runs f holding the lock. Whoever waits for the lock has let the GIL go,
    // so a conversion running without the GIL can always finish.
    template <typename F>
    auto locked(F&& f) {
        std::unique_lock<std::mutex> lock(mutex_, std::try_to_lock);
        if (!lock.owns_lock()) {
            py::gil_scoped_release released;
            lock.lock();
        }
        return f();
    }

    Camera camera_;
    std::unique_ptr<KalviroFrameTable> table_;  // made on the first frame
    std::vector<uint16_t> scratch_;             // a gathered image, kept between frames
    std::mutex mutex_;
};

void bindCamera(py::module_& m);

}  // namespace kalviro::binding
