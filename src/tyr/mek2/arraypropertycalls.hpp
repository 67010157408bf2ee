/// @file
/// The argument types of `Model::addArrayProperty`. The public header has the same list, but
/// undefines its macros.
#pragma once

/// Applies MACRO(array, id, steps) to all types that `Model::addArrayProperty` exists for.
#define TYR_MEK2_FOR_ARRAY_PROPERTIES(MACRO)         \
    TYR_MEK2_FOR_ARRAY(MACRO, Array1d<unsigned int>) \
    TYR_MEK2_FOR_ARRAY(MACRO, Array1d<float>)        \
    TYR_MEK2_FOR_ARRAY(MACRO, Array2d<unsigned int>) \
    TYR_MEK2_FOR_ARRAY(MACRO, Array2d<float>)
#define TYR_MEK2_FOR_ARRAY(MACRO, ARRAY)      \
    MACRO(ARRAY, unsigned int, Step)          \
    MACRO(ARRAY, unsigned int, StepList)      \
    MACRO(ARRAY, Array1d<unsigned int>, Step) \
    MACRO(ARRAY, Array1d<unsigned int>, StepList)
