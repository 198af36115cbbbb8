#include "cli/output.h"

#include "cli/failure_text.h"
#include "cli/mifare_status.h"
#include "cli/status_text.h"
#include "cli/text.h"

#include <cerrno>
#include <iostream>
#include <system_error>

namespace cli {

namespace {

ExitStatus exitFor(std::int32_t status) {
    return status == ABECS_RSP_STAT_ST_TIMEOUT ? ExitStatus::TimedOut : ExitStatus::Refused;
}

std::string cardText(const CardRefused &refused) {
    const std::string name = mifareStatusName(refused.status);
    const std::string answer =
        "The PIN pad answered " + fromDeviceVisibly(refused.status) + " to " + refused.command;
    return name.empty() ? answer + ", which this tool does not know."
                        : answer + ": " + name + ". " + mifareStatusExplanation(refused.status);
}

// The names of files, and what is typed, need not be UTF-8.
void makeUtf8(Json &value) {
    if (value.is_string()) {
        value = asUtf8(value.get_ref<const std::string &>());
    } else if (value.is_structured()) {
        for (Json &inside : value) {
            makeUtf8(inside);
        }
    }
}

} // namespace

void Output::setPlace(std::string script, std::size_t line) {
    m_script = std::move(script);
    m_line = line;
}

void Output::clearPlace() {
    m_line.reset();
}

void Output::object(const Json &fields) {
    Json whole = Json::object();
    if (m_line) {
        whole["line"] = *m_line;
    }
    if (!m_command.empty()) {
        whole["command"] = m_command;
    }
    for (const auto &[name, value] : fields.items()) {
        whole[name] = value;
    }
    makeUtf8(whole);
    // ASCII alone: JSON leaves DEL and the control characters above it as they are otherwise.
    constexpr bool ENSURE_ASCII = true;
    text(whole.dump(-1, ' ', ENSURE_ASCII) + "\n");
}

void Output::result(const std::string &text, const Json &fields) {
    lines({text}, fields);
}

void Output::lines(const std::vector<std::string> &texts, const Json &fields) {
    if (m_settings.json) {
        Json whole{{"exit", static_cast<int>(ExitStatus::Done)}};
        whole.update(fields);
        object(whole);
        return;
    }
    std::string whole;
    for (const std::string &line : texts) {
        whole += visible(line) + "\n";
    }
    text(whole);
}

void Output::happened(const std::string &line, const Json &fields) {
    if (m_settings.json) {
        object(fields);
    } else {
        text(visible(line) + "\n");
    }
}

void Output::text(const std::string &text) {
    // What failed before, past this, does not say why again.
    errno = EIO;
    if (!(std::cout << text << std::flush) && !isLost()) {
        m_loss = std::generic_category().message(errno);
    }
}

ExitStatus Output::problem(const std::exception_ptr &problem) {
    try {
        std::rethrow_exception(problem);
    } catch (const UsageError &error) {
        return tell(ExitStatus::Usage, "usage", error.what());
    } catch (const Refused &refused) {
        const std::string name = statusName(refused.status);
        return tell(exitFor(refused.status), "refused",
                    "The PIN pad answered " + name + ". " + statusExplanation(refused.status),
                    Json{{"status", static_cast<int>(refused.status)}, {"name", name}});
    } catch (const CardRefused &refused) {
        return tell(ExitStatus::Refused, "refused", cardText(refused),
                    Json{{"status", fromDevice(refused.status)},
                         {"name", mifareStatusName(refused.status)}});
    } catch (const LibraryFailure &failure) {
        if (const auto status = statusNamedIn(failure.message)) {
            return this->problem(
                std::make_exception_ptr(Refused{static_cast<AbecsRspStat_e>(*status)}));
        }
        const FailureText told = explainFailure(failure, m_settings.port);
        return tell(
            told.exit, told.exit == ExitStatus::Port ? "port" : "failure", told.text,
            Json{{"code", pcl_result_to_string(failure.code)}, {"detail", failureDetail(failure)}});
    } catch (const CustomerTimeout &) {
        return tell(ExitStatus::TimedOut, "timeout",
                    "The customer did nothing within the time of --timeout. Run it again, or give "
                    "them longer.");
    } catch (const SurveyStopped &) {
        return tell(ExitStatus::TimedOut, "timeout",
                    "Nobody answered within the time of --stop-after. The survey was stopped.");
    } catch (const Interrupted &) {
        return tell(ExitStatus::Interrupted, "interrupted",
                    "Interrupted. The command was aborted and the session closed.");
    } catch (const std::exception &error) {
        return tell(ExitStatus::Failure, "failure", error.what());
    }
}

ExitStatus Output::usage(const std::string &text) {
    return tell(ExitStatus::Usage, "usage", text);
}

ExitStatus Output::unreadable(const std::string &text) {
    std::cerr << visible(text) << "\nRun with --help for more information." << std::endl;
    return ExitStatus::Usage;
}

ExitStatus Output::finishTrace(const std::string &loss, ExitStatus exit) {
    return loss.empty()
               ? exit
               : lose("The trace cannot be written (" + loss + "): frames are missing.", exit);
}

ExitStatus Output::finish(ExitStatus exit) {
    return isLost()
               ? lose("Standard output cannot be written (" + m_loss + "): results are missing.",
                      exit)
               : exit;
}

// The first problem is the one to exit with.
ExitStatus Output::lose(const std::string &what, ExitStatus exit) {
    clearPlace();
    return tell(exit == ExitStatus::Done ? ExitStatus::Failure : exit, "failure", what);
}

ExitStatus Output::tell(ExitStatus exit, const char *kind, const std::string &text,
                        const Json &fields) {
    if (m_settings.json) {
        Json whole{{"exit", static_cast<int>(exit)}, {"problem", kind}};
        whole.update(fields);
        whole["text"] = text;
        object(whole);
        if (!isLost()) {
            return exit;
        }
    }
    if (m_line) {
        std::cerr << visible(m_script) << ':' << *m_line << ": ";
    }
    std::cerr << visible(text) << std::endl;
    return exit;
}

} // namespace cli
