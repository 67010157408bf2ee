# Empties lines that doxygen would list as separate members: explicit instantiations and
# specialisations, which are documented at their templates, and the macros that declare them.
/^#define TYR_MEK2_.*[^\\]$/{s/.*//;b}
/^#define TYR_MEK2_/,/[^\\]$/{s/.*//;b}
/^TYR_MEK2_/s/.*//
/^extern template.*;$/{s/.*//;b}
/^extern template/,/;$/{s/.*//;b}
/^template <>$/,/;$/s/.*//
