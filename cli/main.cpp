#include "cli/application.h"
#include "cli/terminal.h"
#include "cli/text.h"

#include <exception>
#include <iostream>

int main(int argc, char **argv) {
    try {
        cli::occupyStandardStreams();
        return static_cast<int>(cli::runApplication(argc, argv));
    } catch (const std::exception &error) {
        std::cerr << "pinpad: " << cli::visible(error.what()) << std::endl;
        return static_cast<int>(cli::ExitStatus::Failure);
    }
}
