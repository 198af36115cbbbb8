#include "cli/commands/ports.h"

#include "cli/text_list.h"
#include "serial/serial.h"

namespace cli {

void PortsCommand::run(Context &context) {
    TextList ports;
    callLibrary(Stage::Command, [&] { pcl_serial_list(ports.get()); });
    const std::vector<std::string> names = ports.texts();
    const std::vector<std::string> none = {"No serial ports found."};
    context.output.lines(names.empty() ? none : names, Json{{"ports", names}});
}

} // namespace cli
