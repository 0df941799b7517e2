#pragma once

#include "camera/picture/picture_source.h"
#include "camera/picture/view_source.h"
#include "camera/surroundings/neighbour.h"

namespace camera
{

/** The neighbour that moves the head. */
class PtzNeighbour : public Neighbour, public ViewSource
{
};

std::unique_ptr<Neighbour> makeStoreServer(Surroundings &around);
std::unique_ptr<Neighbour> makeEventManager(Surroundings &around);
std::unique_ptr<Neighbour> makeSensors(Surroundings &around);
std::unique_ptr<PtzNeighbour> makePtzDaemon(Surroundings &around);
/** Takes the pictures of all others. */
std::unique_ptr<PictureSource> makePictureSource(Surroundings &around, const ViewSource &head);
std::unique_ptr<Neighbour> makeStreams(Surroundings &around, PictureSource &pictures);
std::unique_ptr<Neighbour> makeAudioDecoder(Surroundings &around);
std::unique_ptr<Neighbour> makeDigitalIo(Surroundings &around);
std::unique_ptr<Neighbour> makeSystemCommands(Surroundings &around);
std::unique_ptr<Neighbour> makeEventEngine(Surroundings &around, PictureSource &pictures);
std::unique_ptr<Neighbour> makeStatePage(Surroundings &around);

} // namespace camera
