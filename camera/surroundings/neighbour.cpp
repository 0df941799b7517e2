#include "camera/surroundings/neighbour.h"

#include <nlohmann/json.hpp>

namespace camera
{

nlohmann::json StateBoard::collect() const
{
    nlohmann::json state = nlohmann::json::object();
    for (const NamedPart &part : parts_)
        state[part.name] = part.part();
    return state;
}

} // namespace camera
