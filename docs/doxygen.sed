# Empties lines that doxygen takes for members of their own: explicit instantiations and
# specialisations, which are documented at their templates, and the macros that list them.
/^#define TYR_MEK2_.*[^\\]$/{s/.*//;b}
/^#define TYR_MEK2_/,/[^\\]$/{s/.*//;b}
/^TYR_MEK2_/s/.*//
/^extern template.*;$/{s/.*//;b}
/^extern template/,/;$/{s/.*//;b}
/^template <>$/,/;$/s/.*//
