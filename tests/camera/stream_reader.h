#pragma once

#include "camera_process.h"
#include "jpeg_reader.h"

#include <stdexcept>
#include <string>

/** Reads the server push of a camera. */
class StreamReader
{
  public:
    /** Asks for /video/mjpg.cgi and reads the reply's head. */
    explicit StreamReader(const CameraProcess &camera, const std::string &query = "")
        : StreamReader(camera.send("GET /video/mjpg.cgi?" + query + " HTTP/1.1\r\n\r\n"))
    {
    }
    /** Takes a connection on which the reply's head is about to come. */
    explicit StreamReader(ClientSide connection)
        : connection_(std::move(connection)), head_(connection_.readUntil("\r\n\r\n"))
    {
    }

    /** The next part's JPEG; throws when the part is not exactly as it should be. */
    std::string readPart()
    {
        const std::string head = connection_.readUntil("\r\n\r\n");
        const std::string begin = "--myboundary\r\nContent-Type: image/jpeg\r\nContent-Length: ";
        if (!head.starts_with(begin))
            throw std::runtime_error("not the head of a part: " + head);
        std::string jpeg = connection_.read(std::stoul(head.substr(begin.size())));
        if (connection_.read(2) != "\r\n")
            throw std::runtime_error("a part that does not end where its length says");
        return jpeg;
    }
    camera::Image readFrame() { return readJpeg(readPart()); }
    /** Reads until the camera closes the connection. */
    void readToTheEnd() { (void)connection_.readAll(); }

    [[nodiscard]] const std::string &head() const { return head_; }

  private:
    ClientSide connection_;
    std::string head_;
};
