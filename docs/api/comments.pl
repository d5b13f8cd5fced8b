# Turns the plain comments of a header into comments of Doxygen: perl -0p docs/api/comments.pl HEADER
# The first one describes the file. A comment before an empty line belongs to no declaration, and
# marks for other tools are no documentation.
s{\A/\*}{/** \@file};
s{^/\*(?!\*)((?:(?!\*/).)*\*/\n)(?!\n)}{/**$1}gms;
s{^(#define .*\S) +/\*}{$1 /**<}gm;
s{^(?: *//[^\n]*\n)++(?!\n)}{$& =~ s,^( *)//(?!.*(?:NOLINT|cppcheck|GCOVR))(?= |$),$1///,gmr}gme;
s{^#pragma once}{/// \@file}m;
