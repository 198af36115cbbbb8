#include "sim/ext_commands/customer_screen.h"
#include "sim/ext_commands/ext_commands.h"
#include "sim/text.h"

#include <memory>

namespace sim::ext_commands {

namespace {

// One of the two areas of the screen: its type says whether it shows a text or a picture.
struct Area {
    char type;
    std::string data;

    bool picture() const { return type == '1'; }
};

Area take_area(FieldReader &fields) {
    const char type = fields.choice("012");
    const std::size_t size = fields.number(3);
    return {type, fields.text(size)};
}

std::string buttons_of_style(char style) {
    if (style == '4') {
        return "1234";
    }
    return style == '8' ? "12345678" : "123456789ABC";
}

std::string buttons_of_score(char score) {
    static const std::string buttons[] = {"12", "123", "1234", "12345", "0123456789", "0123456789"};
    return buttons[score - '0'];
}

void take_limit(FieldReader &fields, std::optional<std::chrono::seconds> &limit) {
    const std::size_t seconds = fields.number(3);
    if (seconds != 0) {
        limit = std::chrono::seconds(seconds);
    }
}

} // namespace

void ex08(Device &device, const ExtRequest &request) {
    FieldReader fields(request.rest);
    const Bytes code = fields.hex(2);
    ScreenRules rules;
    rules.id = request.id;
    take_limit(fields, rules.time_limit);
    rules.buttons = buttons_of_style(fields.choice("48C"));
    const Area top = take_area(fields);
    const Area bottom = take_area(fields);
    fields.end();
    std::vector<std::string> pictures;
    std::string text;
    for (const Area &area : {top, bottom}) {
        if (area.picture()) {
            if (!device.media().has(area.data)) {
                throw BadField("no such picture");
            }
            pictures.push_back(area.data);
        } else {
            text += text.empty() ? area.data : '\r' + area.data;
        }
    }
    rules.prefix = "0";
    rules.cancel = "C0";
    rules.timeout = "T0";
    rules.stop = "S0";
    device.log().note("survey", {{"id", request.id},
                                 {"code", to_hex(code)},
                                 {"top", top.data},
                                 {"bottom", bottom.data},
                                 {"buttons", rules.buttons}});
    device.show_survey(text, pictures, rules.buttons);
    device.wait_with(std::make_unique<CustomerScreen>(device, std::move(rules),
                                                      device.next_script(ScriptKind::survey)));
}

void ex10(Device &device, const ExtRequest &request) {
    FieldReader fields(request.rest);
    ScreenRules rules;
    rules.id = request.id;
    const char survey = fields.choice("0123");
    const char message = fields.choice("0123");
    const char score = fields.choice("012345");
    rules.buttons = buttons_of_score(score);
    rules.typed_digits = score == '5' ? 3 : 0;
    take_limit(fields, rules.time_limit);
    take_limit(fields, rules.idle_limit);
    const std::string text = fields.rest();
    rules.cancel = "C";
    rules.timeout = "T";
    rules.idle = "I";
    rules.stop = "S";
    device.log().note("survey", {{"id", request.id},
                                 {"type", std::string(1, survey)},
                                 {"message", std::string(1, message)},
                                 {"text", text},
                                 {"buttons", rules.buttons}});
    device.show_survey(text, {}, rules.buttons);
    device.wait_with(std::make_unique<CustomerScreen>(device, std::move(rules),
                                                      device.next_script(ScriptKind::cx_survey)));
}

} // namespace sim::ext_commands
