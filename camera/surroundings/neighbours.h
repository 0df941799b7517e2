#pragma once

#include "camera/surroundings/neighbour.h"

namespace camera
{

using MakeNeighbour = std::unique_ptr<Neighbour> (*)(Surroundings &);

std::unique_ptr<Neighbour> makeStoreServer(Surroundings &around);
std::unique_ptr<Neighbour> makeEventManager(Surroundings &around);
std::unique_ptr<Neighbour> makeSensors(Surroundings &around);
std::unique_ptr<Neighbour> makeStreams(Surroundings &around);
std::unique_ptr<Neighbour> makeAudioDecoder(Surroundings &around);
std::unique_ptr<Neighbour> makePtzDaemon(Surroundings &around);
std::unique_ptr<Neighbour> makeDigitalIo(Surroundings &around);
std::unique_ptr<Neighbour> makeSystemCommands(Surroundings &around);
std::unique_ptr<Neighbour> makeEventEngine(Surroundings &around);
std::unique_ptr<Neighbour> makeStatePage(Surroundings &around);

/** All neighbours, in the order in which they are started; they are stopped in the reverse order. */
// clang-format off
inline constexpr MakeNeighbour NEIGHBOURS[] = {
    makeStoreServer,
    makeEventManager,
    makeSensors,
    makeStreams,
    makeAudioDecoder,
    makePtzDaemon,
    makeDigitalIo,
    makeSystemCommands,
    makeEventEngine,
    makeStatePage,
};
// clang-format on

} // namespace camera
