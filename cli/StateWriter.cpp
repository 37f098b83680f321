#include "StateWriter.hpp"

#include <cmath>

#include "ForeignTexts.hpp"

namespace vorlandi::cli {
namespace {

constexpr std::array<std::string_view, 6> kComponents = {"x", "y", "z", "vx", "vy", "vz"};

class TableWriter : public StateWriter {
public:
    TableWriter(WithCovariance withCovariance, Output& output) : withCovariance_(withCovariance), output_(output) {
        output_.print("{:>9}  {:<5}  {:<26}  {:>16} {:>16} {:>16}  {:>14} {:>14} {:>14}  {:>10}\n", "satellite",
                      "frame", "time (UTC)", "x (km)", "y (km)", "z (km)", "vx (km/s)", "vy (km/s)", "vz (km/s)",
                      "revolution");
    }

    void beginSatellite(const SatelliteRecord& satellite) override {
        number_ = satellite.number;
        frame_ = name(satellite.frame);
    }

    void write(const Point& point) override {
        const auto& [x, y, z] = point.state.position_km;
        const auto& [vx, vy, vz] = point.state.velocity_km_s;
        output_.print("{:>9}  {:<5}  {:<26}  {:>16.6f} {:>16.6f} {:>16.6f}  {:>14.9f} {:>14.9f} {:>14.9f}  {:>10}\n",
                      number_, frame_, isoTime(point.time.days), x, y, z, vx, vy, vz, point.revolution);
        if (withCovariance_ == WithCovariance::Yes) covariance(point.covariance);
    }

private:
    void covariance(const Matrix6& matrix) {
        if (!isCovariance(matrix)) return output_.print("{:>11}no covariance\n", "");
        for (std::size_t row = 0; row < 6; ++row) {
            output_.print("{:>11}{:<2}", "", kComponents[row]);
            for (std::size_t column = 0; column <= row; ++column)
                output_.print(" {:>14.6e}", matrix[row][column]);
            output_.write("\n");
        }
    }

    WithCovariance withCovariance_;
    Output& output_;
    std::int32_t number_ = 0;
    std::string frame_;
};

class CsvWriter : public StateWriter {
public:
    CsvWriter(WithCovariance withCovariance, Output& output) : withCovariance_(withCovariance), output_(output) {
        output_.write("satellite,key,frame,time_utc,ds50_utc,x_km,y_km,z_km,vx_km_s,vy_km_s,vz_km_s,revolution");
        if (withCovariance_ == WithCovariance::Yes) covarianceTitles();
        output_.write("\n");
    }

    void beginSatellite(const SatelliteRecord& satellite) override {
        head_ = fmt::format("{},{},{}", satellite.number, satellite.key(), csvField(name(satellite.frame)));
    }

    void write(const Point& point) override {
        output_.print("{},{},{},{},{},{}", head_, isoTime(point.time.days), point.time.days,
                      fmt::join(point.state.position_km, ","), fmt::join(point.state.velocity_km_s, ","),
                      point.revolution);
        if (withCovariance_ == WithCovariance::Yes) covariance(point.covariance);
        output_.write("\n");
    }

private:
    void covarianceTitles() {
        for (std::size_t row = 0; row < 6; ++row) {
            for (std::size_t column = 0; column <= row; ++column)
                output_.print(",cov_{}_{}", kComponents[row], kComponents[column]);
        }
    }

    void covariance(const Matrix6& matrix) {
        const bool known = isCovariance(matrix);
        for (std::size_t row = 0; row < 6; ++row) {
            for (std::size_t column = 0; column <= row; ++column) {
                output_.write(",");
                if (known) output_.print("{}", matrix[row][column]);
            }
        }
    }

    WithCovariance withCovariance_;
    Output& output_;
    std::string head_;
};

class JsonWriter : public StateWriter {
public:
    JsonWriter(WithCovariance withCovariance, Output& output) : withCovariance_(withCovariance), output_(output) {
        output_.write("{\"satellites\":[");
    }

    // The key is a text because many readers of JSON keep only 53 bits of a whole number.
    void beginSatellite(const SatelliteRecord& satellite) override {
        output_.print("{}\n{{\"satellite\":{},\"key\":\"{}\",\"frame\":{},\"file\":{},\"states\":[",
                      firstSatellite_ ? "" : ",", satellite.number, satellite.key(), jsonText(name(satellite.frame)),
                      jsonText(satellite.file));
        firstSatellite_ = false;
        firstState_ = true;
    }

    void write(const Point& point) override {
        output_.print("{}\n{{\"time_utc\":\"{}\",\"ds50_utc\":", firstState_ ? "" : ",", isoTime(point.time.days));
        number(point.time.days);
        output_.write(",\"position_km\":");
        array(point.state.position_km);
        output_.write(",\"velocity_km_s\":");
        array(point.state.velocity_km_s);
        output_.print(",\"revolution\":{}", point.revolution);
        if (withCovariance_ == WithCovariance::Yes) covariance(point.covariance);
        output_.write("}");
        firstState_ = false;
    }

    void endSatellite() override { output_.write("]}"); }
    void finish() override { output_.write("\n]}\n"); }

private:
    // JSON has neither infinities nor NaN.
    void number(double value) {
        if (!std::isfinite(value)) return output_.write("null");
        output_.print("{}", value);
    }

    template <std::size_t Size>
    void array(const std::array<double, Size>& values) {
        for (std::size_t i = 0; i < Size; ++i) {
            output_.write(i == 0 ? "[" : ",");
            number(values[i]);
        }
        output_.write("]");
    }

    void covariance(const Matrix6& matrix) {
        output_.write(",\"covariance\":");
        if (!isCovariance(matrix)) return output_.write("null");
        for (std::size_t row = 0; row < 6; ++row) {
            output_.write(row == 0 ? "[" : ",");
            array(matrix[row]);
        }
        output_.write("]");
    }

    WithCovariance withCovariance_;
    Output& output_;
    bool firstSatellite_ = true;
    bool firstState_ = true;
};

}  // namespace

std::unique_ptr<StateWriter> makeStateWriter(Format format, WithCovariance withCovariance, Output& output) {
    switch (format) {
        case Format::Csv:
            return std::make_unique<CsvWriter>(withCovariance, output);
        case Format::Json:
            return std::make_unique<JsonWriter>(withCovariance, output);
        case Format::Table:
            break;
    }
    return std::make_unique<TableWriter>(withCovariance, output);
}

}  // namespace vorlandi::cli
