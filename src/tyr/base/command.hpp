/// @file
/// Base classes of the commands, which carry out the public operations.
///
/// A command holds copies of its arguments. A public operation creates it on the stack, runs it
/// once and destroys it.
#pragma once

#include "tyr/base/filedescription.hpp"

namespace Tyr::Base {

/// Changes the state `D`.
template <class D>
class Modifier {
public:
    virtual ~Modifier() = default;
    virtual void update(D&) {}
};

/// Reads an `R` from the state `D`.
template <class D, class R>
class Extractor {
public:
    virtual ~Extractor() = default;
    virtual R extract(D&) { return R(); }
};

/// Opens a file for the state `D` with options `O`.
template <class D, class O>
class Saver : public Extractor<D, void> {
public:
    Saver(const Mek2::FileDescription& fileDescription, const O& saverOptions)
        : description(fileDescription), options(saverOptions) {}

    virtual void save(D&) {}

protected:
    Mek2::FileDescription description;
    O options;
};

} // namespace Tyr::Base
