#include "camera/base/command_line.h"
#include "camera/camera.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <span>

int main(int count, char **arguments)
{
    try {
        const camera::Options options =
            camera::parseOptions({arguments + 1, static_cast<size_t>(count > 0 ? count - 1 : 0)});
        if (!options.text.empty())
            std::cout << options.text;
        else
            camera::runCamera(options);
        return EXIT_SUCCESS;
    } catch (const camera::UsageError &error) {
        std::cerr << "kelpa-camera: " << error.what() << "\n";
        return camera::EXIT_USAGE;
    } catch (const std::exception &error) {
        std::cerr << "kelpa-camera: " << error.what() << "\n";
        return EXIT_FAILURE;
    }
}
