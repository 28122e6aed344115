// Scenes of known temperatures for synthetic frames, in degrees. Each moves
// a little over a sequence, and carries a fixed pattern of sensor noise.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "frame_size.hpp"

namespace kalviro::cli {

enum class Scene : uint8_t { Hotspot, Gradient, Person, Room };

std::optional<Scene> findScene(const std::string& name);
std::string sceneNames();  // "hotspot, gradient, person, room"

// The temperature at pixel (x, y) of frame `frame` of `frames`, in degrees.
double sceneTemp(Scene scene, const FrameSize& size, int32_t x, int32_t y, uint64_t frame, uint64_t frames);

}  // namespace kalviro::cli
