# Converts the plain comments of a header to Doxygen comments: perl -0p docs/api/comments.pl HEADER
# The first comment describes the file. Two kinds of comment remain plain: those before an empty line,
# because they belong to no declaration, and marks for other tools, such as NOLINT.
s{\A/\*}{/** \@file};
s{^/\*(?!\*)((?:(?!\*/).)*\*/\n)(?!\n)}{/**$1}gms;
s{^(#define .*\S) +/\*}{$1 /**<}gm;
s{^(?: *//[^\n]*\n)++(?!\n)}{$& =~ s,^( *)//(?!.*(?:NOLINT|cppcheck|GCOVR))(?= |$),$1///,gmr}gme;
s{^#pragma once}{/// \@file}m;
