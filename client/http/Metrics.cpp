#include "http/Metrics.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace vqloan::client::http {

namespace {

std::string heading(const std::string& name, const char* type, const std::string& help)
{
    return "# HELP " + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
}

std::string number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

std::string single(const std::string& name, const char* type, const std::string& help, std::size_t value)
{
    return heading(name, type, help) + name + ' ' + std::to_string(value) + '\n';
}

} // namespace

void Metrics::Histogram::add(Clock::duration time) noexcept
{
    const double seconds = std::chrono::duration<double>(time).count();
    const auto place = std::ranges::lower_bound(bounds, seconds) - std::begin(bounds);
    ++buckets[place];
    nanoseconds += static_cast<std::size_t>(std::chrono::nanoseconds(time).count());
}

std::string Metrics::Histogram::text(const std::string& name, const std::string& help) const
{
    std::string all = heading(name, "histogram", help);
    std::size_t sum = 0;
    for (std::size_t i = 0; i < std::size(buckets); ++i) {
        sum += buckets[i];
        all += name + "_bucket{le=\"" + (i < std::size(bounds) ? number(bounds[i]) : "+Inf") + "\"} " +
               std::to_string(sum) + '\n';
    }
    return all + name + "_sum " + number(1e-9 * static_cast<double>(nanoseconds)) + '\n' + name + "_count " +
           std::to_string(sum) + '\n';
}

void Metrics::asked(std::size_t lines, const std::vector<Answer>& answers, Clock::duration time)
{
    for (const Answer& answer : answers)
        ++outcomes_[static_cast<std::size_t>(answer.outcome)];
    outcomes_[static_cast<std::size_t>(Outcome::failure)] += lines - std::min(lines, answers.size());
    blocks_.add(time);
}

void Metrics::answered(int status, Clock::duration time)
{
    ++statuses_[std::clamp(status / 100, 0, 5)];
    requests_.add(time);
}

std::string Metrics::text(const Connections& connections) const
{
    std::string all = heading("vqloan_questions_total", "counter", "Copies asked about, by outcome.");
    for (std::size_t i = 0; i < std::size(outcomes_); ++i)
        all.append("vqloan_questions_total{outcome=\"")
            .append(nameOf(static_cast<Outcome>(i)))
            .append("\"} ")
            .append(std::to_string(outcomes_[i]))
            .append("\n");
    all += heading("vqloan_requests_total", "counter", "Requests answered, by class of status.");
    for (std::size_t i = 2; i < std::size(statuses_); ++i)
        all += "vqloan_requests_total{status=\"" + std::to_string(i) + "xx\"} " +
               std::to_string(statuses_[i]) + '\n';
    all += single("vqloan_refused_total", "counter",
                  "Requests refused before they were read, or for want of room.", connections.refused);
    all += single("vqloan_back_end_opened_total", "counter", "Back ends opened again.", opened_);
    all += single("vqloan_connections", "gauge", "Connections that wait for a request.", connections.open);
    all += requests_.text("vqloan_request_seconds", "Time from a whole request to the end of its answer.");
    return all + blocks_.text("vqloan_block_seconds",
                              "Time that the back end took for lines that were asked in one call.");
}

} // namespace vqloan::client::http
