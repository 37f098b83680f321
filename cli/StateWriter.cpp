#include "StateWriter.hpp"

#include <cmath>

#include "ForeignTexts.hpp"

namespace vorlandi::cli {
namespace {

constexpr std::array<std::string_view, 6> kStateComponents = {"x", "y", "z", "vx", "vy", "vz"};

class TableWriter : public StateWriter {
public:
    TableWriter(StateColumns columns, Output& output) : columns_(columns), output_(output) {
        output_.print("{:>9}  {:<5}  {:<26}  {:>16} {:>16} {:>16}  {:>14} {:>14} {:>14}", "satellite", "frame",
                      "time (UTC)", "x (km)", "y (km)", "z (km)", "vx (km/s)", "vy (km/s)", "vz (km/s)");
        if (columns_.sigma) output_.print("  {:>14} {:>14} {:>14}", "sigma R (m)", "sigma I (m)", "sigma C (m)");
        if (columns_.error) output_.print("  {:>14}", "error (m)");
        if (columns_.revolution) output_.print("  {:>10}", "revolution");
        output_.write("\n");
    }

    void beginSatellite(const SatelliteRecord& satellite) override {
        number_ = satellite.number;
        frame_ = name(satellite.frame);
    }

    void write(const StateRow& row) override {
        const auto& [x, y, z] = row.point.state.position_km;
        const auto& [vx, vy, vz] = row.point.state.velocity_km_s;
        output_.print("{:>9}  {:<5}  {:<26}  {:>16.6f} {:>16.6f} {:>16.6f}  {:>14.9f} {:>14.9f} {:>14.9f}", number_,
                      frame_, isoTime(row.point.time.days), x, y, z, vx, vy, vz);
        if (columns_.sigma) sigma(row.sigma_m);
        if (columns_.error) output_.print("  {:>14}", row.error_m ? fmt::format("{:.3f}", *row.error_m) : "-");
        if (columns_.revolution) output_.print("  {:>10}", row.point.revolution);
        output_.write("\n");
        if (columns_.covariance) covariance(row.point.covariance);
    }

private:
    void sigma(const std::optional<std::array<double, 3>>& sigma_m) {
        for (std::size_t axis = 0; axis < 3; ++axis)
            output_.print("{}{:>14}", axis == 0 ? "  " : " ", sigma_m ? fmt::format("{:.3f}", (*sigma_m)[axis]) : "-");
    }

    void covariance(const Matrix6& matrix) {
        if (!isCovariance(matrix)) return output_.print("{:>11}no covariance\n", "");
        for (std::size_t row = 0; row < 6; ++row) {
            output_.print("{:>11}{:<2}", "", kStateComponents[row]);
            for (std::size_t column = 0; column <= row; ++column)
                output_.print(" {:>14.6e}", matrix[row][column]);
            output_.write("\n");
        }
    }

    StateColumns columns_;
    Output& output_;
    std::int32_t number_ = 0;
    std::string frame_;
};

class CsvWriter : public StateWriter {
public:
    CsvWriter(StateColumns columns, Output& output) : columns_(columns), output_(output) {
        output_.write("satellite,key,frame,time_utc,ds50_utc,x_km,y_km,z_km,vx_km_s,vy_km_s,vz_km_s,revolution");
        if (columns_.covariance) covarianceTitles();
        if (columns_.sigma) output_.write(",sigma_radial_m,sigma_in_track_m,sigma_cross_track_m");
        if (columns_.error) output_.write(",error_m");
        output_.write("\n");
    }

    void beginSatellite(const SatelliteRecord& satellite) override {
        head_ = fmt::format("{},{},{}", satellite.number, satellite.key(), csvField(name(satellite.frame)));
    }

    void write(const StateRow& row) override {
        const Point& point = row.point;
        output_.print("{},{},{},{},{},{}", head_, isoTime(point.time.days), point.time.days,
                      fmt::join(point.state.position_km, ","), fmt::join(point.state.velocity_km_s, ","),
                      point.revolution);
        if (columns_.covariance) covariance(point.covariance);
        if (columns_.sigma) row.sigma_m ? output_.print(",{}", fmt::join(*row.sigma_m, ",")) : output_.write(",,,");
        if (columns_.error) row.error_m ? output_.print(",{}", *row.error_m) : output_.write(",");
        output_.write("\n");
    }

private:
    void covarianceTitles() {
        for (std::size_t row = 0; row < 6; ++row) {
            for (std::size_t column = 0; column <= row; ++column)
                output_.print(",cov_{}_{}", kStateComponents[row], kStateComponents[column]);
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

    StateColumns columns_;
    Output& output_;
    std::string head_;
};

// The fields of a state as JSON has them.
class StateFields {
public:
    StateFields(StateColumns columns, Output& output) : columns_(columns), output_(output) {}

    void write(const StateRow& row) {
        const Point& point = row.point;
        output_.print("\"time_utc\":\"{}\",\"ds50_utc\":", isoTime(point.time.days));
        number(point.time.days);
        output_.write(",\"position_km\":");
        array(point.state.position_km);
        output_.write(",\"velocity_km_s\":");
        array(point.state.velocity_km_s);
        output_.print(",\"revolution\":{}", point.revolution);
        if (columns_.covariance) covariance(point.covariance);
        if (columns_.sigma) {
            output_.write(",\"sigma_m\":");
            row.sigma_m ? array(*row.sigma_m) : output_.write("null");
        }
        if (columns_.error) {
            output_.write(",\"error_m\":");
            row.error_m ? number(*row.error_m) : output_.write("null");
        }
    }

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

    StateColumns columns_;
    Output& output_;
};

// The key is a text because many readers of JSON keep only 53 bits of a whole number.
std::string jsonHead(const SatelliteRecord& satellite) {
    return fmt::format("\"satellite\":{},\"key\":\"{}\",\"frame\":{}", satellite.number, satellite.key(),
                       jsonText(name(satellite.frame)));
}

class JsonWriter : public StateWriter {
public:
    JsonWriter(StateColumns columns, Output& output) : fields_(columns, output), output_(output) {
        output_.write("{\"schema\":\"vorlandi.states/1\",\"satellites\":[");
    }

    void beginSatellite(const SatelliteRecord& satellite) override {
        output_.print("{}\n{{{},\"file\":{},\"states\":[", firstSatellite_ ? "" : ",", jsonHead(satellite),
                      jsonText(satellite.file));
        firstSatellite_ = false;
        firstState_ = true;
    }

    void write(const StateRow& row) override {
        output_.write(firstState_ ? "\n{" : ",\n{");
        fields_.write(row);
        output_.write("}");
        firstState_ = false;
    }

    void endSatellite() override { output_.write("]}"); }
    void finish() override { output_.write("\n]}\n"); }

private:
    StateFields fields_;
    Output& output_;
    bool firstSatellite_ = true;
    bool firstState_ = true;
};

// One object per line, each complete in itself: lines can be filtered, cut and joined.
class JsonLinesWriter : public StateWriter {
public:
    JsonLinesWriter(StateColumns columns, Output& output) : fields_(columns, output), output_(output) {}

    void beginSatellite(const SatelliteRecord& satellite) override {
        head_ = "{\"schema\":\"vorlandi.states/1\"," + jsonHead(satellite) + ",";
    }

    void write(const StateRow& row) override {
        output_.write(head_);
        fields_.write(row);
        output_.write("}\n");
    }

private:
    StateFields fields_;
    Output& output_;
    std::string head_;
};

}  // namespace

std::unique_ptr<StateWriter> makeStateWriter(Format format, StateColumns columns, Output& output) {
    switch (format) {
        case Format::Csv:
            return std::make_unique<CsvWriter>(columns, output);
        case Format::Json:
            return std::make_unique<JsonWriter>(columns, output);
        case Format::Jsonl:
            return std::make_unique<JsonLinesWriter>(columns, output);
        case Format::Table:
            break;
    }
    return std::make_unique<TableWriter>(columns, output);
}

}  // namespace vorlandi::cli
