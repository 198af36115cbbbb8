#include "sim/ext_commands/customer_screen.h"
#include "sim/ext_commands/ext_commands.h"
#include "sim/qr_matrix.h"

#include <memory>

namespace sim::ext_commands {

void qr01(Device &device, const ExtRequest &request) {
    FieldReader fields(request.rest);
    const std::size_t seconds = fields.number(3);
    fields.choice("012");
    const std::size_t line_size = fields.number(2);
    const std::size_t text_size = fields.number(4);
    const std::string line = fields.text(line_size);
    const std::string text = fields.text(text_size);
    fields.end();
    const std::vector<std::string> modules = qr_matrix(text);
    if (modules.empty() && !text.empty()) {
        throw BadField("the text does not fit into a QR code");
    }
    device.log().note("qrcode", {{"line", line}, {"text", text}});
    device.show_qr_code(line, text, modules);
    ScreenRules rules;
    rules.id = request.id;
    rules.enter = "0";
    rules.cancel = "1";
    rules.timeout = "2";
    if (seconds != 0) {
        rules.time_limit = std::chrono::seconds(seconds);
    }
    device.wait_with(std::make_unique<CustomerScreen>(device, std::move(rules),
                                                      device.next_script(ScriptKind::qr_code)));
}

} // namespace sim::ext_commands
