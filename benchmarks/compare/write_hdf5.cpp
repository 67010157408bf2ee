/// @file
/// Writes a workload with HDF5 as its users write results: one dataset per array, one group per
/// result, shuffle and deflate at level 6, chunks of 1 MiB, the newest file format. The variant
/// "contiguous" uses neither chunks nor filters.

#include "compare/writer.hpp"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <map>
#include <stdexcept>

namespace {

template <class Result>
Result checked(Result result) {
    if (result < 0) {
        throw std::runtime_error("HDF5 failed");
    }
    return result;
}

class Hdf5 {
public:
    using Input = Bench::PlainInput;

    Hdf5(const std::string& path, const std::string& variant)
        : isContiguous_(variant == "contiguous") {
        const hid_t access = checked(H5Pcreate(H5P_FILE_ACCESS));
        checked(H5Pset_libver_bounds(access, H5F_LIBVER_LATEST, H5F_LIBVER_LATEST));
        file_ = checked(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access));
        H5Pclose(access);
    }

    void add(const Bench::Dataset& dataset, Input& input) {
        const bool isFloat = dataset.kind != Bench::Kind::Connectivity;
        const int rank = dataset.width == 1 ? 1 : 2;
        const std::array<hsize_t, 2> shape = {dataset.rows, dataset.width};
        const hid_t space = checked(H5Screate_simple(rank, shape.data(), nullptr));
        const hid_t properties = checked(H5Pcreate(H5P_DATASET_CREATE));
        if (!isContiguous_) {
            constexpr hsize_t valuesInChunk = 1024 * 1024 / 4;
            const std::array<hsize_t, 2> chunk = {
                std::min<hsize_t>(dataset.rows, valuesInChunk / dataset.width), dataset.width};
            checked(H5Pset_chunk(properties, rank, chunk.data()));
            checked(H5Pset_shuffle(properties));
            checked(H5Pset_deflate(properties, 6));
        }
        const std::string step = dataset.step();
        const hid_t parent = step.empty() ? file_ : groupOf(dataset.name());
        const hid_t set = checked(H5Dcreate2(parent, (step.empty() ? dataset.name() : step).c_str(),
                                             isFloat ? H5T_IEEE_F32LE : H5T_STD_U32LE, space,
                                             H5P_DEFAULT, properties, H5P_DEFAULT));
        checked(H5Dwrite(set, isFloat ? H5T_NATIVE_FLOAT : H5T_NATIVE_UINT, H5S_ALL, H5S_ALL,
                         H5P_DEFAULT, input.data()));
        checked(H5Dclose(set));
        H5Pclose(properties);
        H5Sclose(space);
    }

    void close() {
        for (const auto& [name, group] : groups_) {
            checked(H5Gclose(group));
        }
        checked(H5Fclose(file_));
    }

private:
    hid_t groupOf(const std::string& name) {
        const auto [entry, isNew] = groups_.try_emplace(name);
        if (isNew) {
            entry->second =
                checked(H5Gcreate2(file_, name.c_str(), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
        }
        return entry->second;
    }

    bool isContiguous_;
    hid_t file_ = 0;
    std::map<std::string, hid_t> groups_;
};

} // namespace

int main(int argc, char** argv) { return Bench::writerMain<Hdf5>(argc, argv); }
