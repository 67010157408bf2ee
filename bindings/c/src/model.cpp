#include <mekapi2.h>
#include <tyr/version.hpp>

#include "errors.hpp"
#include "handles.hpp"
#include "path.hpp"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

using MekC::required;
using MekC::requiredArray;
using MekC::requiredString;
using MekC::runWith;
using MekC::valuesOf;
using Tyr::Mek2::Model;

static_assert(MEK_VERSION_MAJOR == MEKAPI2_VERSION_MAJOR &&
                  MEK_VERSION_MINOR == MEKAPI2_VERSION_MINOR &&
                  MEK_VERSION_PATCH == MEKAPI2_VERSION_PATCH,
              "mekapi2.h and tyr/version.hpp have different versions");

namespace {

using Ids = Tyr::Mek2::Array1d<unsigned int>;
using Strings = std::vector<std::string>;

Strings stringsOf(const char* const* strings, std::size_t count, const char* name) {
    requiredArray(strings, count, name);
    Strings result;
    result.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        result.emplace_back(requiredString(strings[i], name));
    }
    return result;
}

std::string separatorOr(const char* separator) {
    return separator != nullptr ? separator : Model::defaultPathSeparator();
}

/// Adds the paths in the order of the map.
/// @param ids null, or space for one id for each path, in the order of `paths`
void addWithAttributes(Model& model, const Strings& paths, const mek_attributes* const* attributes,
                       const std::string& separator, std::uint32_t* ids) {
    std::map<std::string, Tyr::Mek2::Attributes> byPath;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (!byPath.emplace(paths[i], valuesOf(attributes[i])).second) {
            MekC::refuse(MEK_INVALID_ARGUMENTS, "the path " + paths[i] + " is given twice");
        }
    }
    const Ids added = model.addAssemblyComponents(byPath, separator);
    for (std::size_t i = 0; ids != nullptr && i < paths.size(); ++i) {
        ids[i] =
            added[static_cast<std::size_t>(std::distance(byPath.begin(), byPath.find(paths[i])))];
    }
}

} // namespace

int32_t mek_version(void) {
    return MEK_VERSION_NUMBER(MEK_VERSION_MAJOR, MEK_VERSION_MINOR, MEK_VERSION_PATCH);
}

const char* mek_version_string(void) { return MEKAPI2_VERSION_STRING; }

const mek_error* mek_last_error(const mek_model* model) {
    return &(model != nullptr ? model->lastError : MekC::lastErrorOfThread()).error();
}

mek_status mek_model_create(mek_model** model) { return MekC::create(model, __func__); }

void mek_model_destroy(mek_model* model) { delete model; }

mek_status mek_save_to(mek_model* model, const char* path, const mek_options* options) {
    return runWith(model, __func__, [&](Model& to) {
        const auto given = MekC::toPath(requiredString(path, "the path"));
        to.saveTo(given, options != nullptr ? options->values : Tyr::Mek2::SaverOptions());
    });
}

mek_status mek_close(mek_model* model) {
    return runWith(model, __func__, [](Model& to) { to.close(); });
}

mek_status mek_checkpoint(mek_model* model, mek_durability durability) {
    return runWith(model, __func__, [&](Model& to) {
        if (durability != MEK_DURABILITY_PROCESS && durability != MEK_DURABILITY_DEVICE) {
            MekC::refuse(MEK_INVALID_ARGUMENTS, "unknown durability");
        }
        to.checkpoint(durability == MEK_DURABILITY_DEVICE ? Tyr::Mek2::Durability::Device
                                                          : Tyr::Mek2::Durability::Process);
    });
}

mek_status mek_temporary_path(mek_model* model, const char** path) {
    return runWith(model, __func__, [&](Model& of) {
        const char*& result = required(path, "the address of the path");
        model->temporaryPath = of.temporaryPath();
        result = model->temporaryPath.c_str();
    });
}

mek_status mek_add_node(mek_model* model, mek_node_type type, const char* name,
                        const mek_attributes* attributes, uint32_t* id) {
    return runWith(model, __func__, [&](Model& to) {
        const std::uint32_t added =
            to.addNode(static_cast<Tyr::Mek2::NodeType>(type), requiredString(name, "the name"),
                       valuesOf(attributes));
        if (id != nullptr) {
            *id = added;
        }
    });
}

mek_status mek_set_current_node_id(mek_model* model, uint32_t id) {
    return runWith(model, __func__, [&](Model& of) { of.setCurrentNodeId(id); });
}

mek_status mek_move_to_parent_node(mek_model* model) {
    return runWith(model, __func__, [](Model& of) { of.moveToParentNode(); });
}

mek_status mek_get_node_id(mek_model* model, const char* path, const char* separator,
                           uint32_t* id) {
    return runWith(model, __func__, [&](Model& of) {
        std::uint32_t& found = required(id, "the address of the id");
        found = of.getNodeId(requiredString(path, "the path"), separatorOr(separator));
    });
}

mek_status mek_get_node_id_of_names(mek_model* model, const char* const* names, size_t count,
                                    uint32_t* id) {
    return runWith(model, __func__, [&](Model& of) {
        std::uint32_t& found = required(id, "the address of the id");
        found = of.getNodeId(stringsOf(names, count, "a name, or the array of names,"));
    });
}

mek_status mek_set_node_data(mek_model* model, uint32_t id, const mek_properties* properties,
                             const mek_attributes* attributes) {
    return runWith(model, __func__, [&](Model& of) {
        static const Tyr::Mek2::NodeProperties none;
        of.setNodeData(id, properties != nullptr ? properties->values : none, valuesOf(attributes));
    });
}

mek_status mek_add_assembly_components(mek_model* model, const char* const* paths, size_t count,
                                       const char* separator, uint32_t* ids) {
    return runWith(model, __func__, [&](Model& to) {
        const Ids added = to.addAssemblyComponents(
            stringsOf(paths, count, "a path, or the array of paths,"), separatorOr(separator));
        if (ids != nullptr) {
            std::copy(added.begin(), added.end(), ids);
        }
    });
}

mek_status mek_add_assembly_components_with_attributes(mek_model* model, const char* const* paths,
                                                       const mek_attributes* const* attributes,
                                                       size_t count, const char* separator,
                                                       uint32_t* ids) {
    return runWith(model, __func__, [&](Model& to) {
        requiredArray(attributes, count, "the array of attributes");
        addWithAttributes(to, stringsOf(paths, count, "a path, or the array of paths,"), attributes,
                          separatorOr(separator), ids);
    });
}
