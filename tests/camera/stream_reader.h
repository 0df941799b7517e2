#pragma once

#include "camera_process.h"
#include "jpeg_reader.h"
#include "tests/fakes/test_support.h"

#include <string>

/** Reads the server push of a camera. What does not come within ten seconds fails with an exception. */
class StreamReader
{
  public:
    /** Asks for /video/mjpg.cgi and reads the reply's head. */
    explicit StreamReader(const CameraProcess &camera, const std::string &query = "")
        : StreamReader(camera.send("GET /video/mjpg.cgi?" + query + " HTTP/1.1\r\n\r\n"))
    {
    }
    /** Takes a connection on which the reply's head is about to come. */
    explicit StreamReader(FileDescriptor socket);

    /** The next part's JPEG; throws when the part is not exactly as it should be. */
    std::string readPart();
    camera::Image readFrame() { return readJpeg(readPart()); }
    /** Whether the camera closes the connection, after whatever it sends before. */
    bool ends();

    [[nodiscard]] const std::string &head() const { return head_; }

  private:
    bool fill();
    std::string takeUntil(const std::string &sign);
    std::string take(size_t length);

    FileDescriptor socket_;
    std::string buffer_;
    std::string head_;
};
