#!/usr/bin/env perl
# Whether every text of the library is in a test: prints the texts in src/ that no test spells out. A text in
# which values are filled in is taken apart there, as tests spell out whole ones. Run in the root of the tree.
use strict;
use warnings;

# literals SOURCE: the string literals of a C++ source, neighbours joined, each with its line.
sub literals {
    my ($source) = @_;
    my @found;
    my $line    = 1;
    my $joined  = 0;    # only space since the last literal
    while ($source !~ /\G\z/gc) {
        if ($source =~ /\G(\s+)/gc) {
            $line += ($1 =~ tr/\n//);
        } elsif ($source =~ m{\G(//[^\n]*|/\*.*?\*/)}gcs) {
            $line += ($1 =~ tr/\n//);
        } elsif ($source =~ /\G#[ \t]*include[^\n]*/gc) {
            $joined = 0;
        } elsif ($source =~ /\G(\b(?:static_assert|asm|__attribute__)\b(?:"(?:[^"\\]|\\.)*"|[^";{])*)/gc) {
            $line += ($1 =~ tr/\n//);    # nothing that the program says
            $joined = 0;
        } elsif ($source =~ /\GR"([^(]*)\((.*?)\)\1"/gcs) {
            push @found, [ $line, $2 ];
            $line += ($2 =~ tr/\n//);
            $joined = 1;
        } elsif ($source =~ /\G"((?:[^"\\]|\\.)*)"(?:sv)?/gc) {
            $joined ? ($found[-1][1] .= $1) : push(@found, [ $line, $1 ]);
            $joined = 1;
        } else {
            $source =~ /\G(?:'(?:[^'\\]|\\.)+'|\w+|.)/gcs;
            $joined = 0;
        }
    }
    return @found;
}

sub read_file {
    my ($name) = @_;
    open my $file, '<', $name or die "$name: $!\n";
    local $/;
    return scalar <$file>;
}

sub sources { return split /\n/, `git ls-files --cached --others --exclude-standard -- @_`; }

my $seen = join "\n", map { $_->[1] } map { literals(read_file($_)) } sources("'tests/*.cpp'", "'tests/*.h'");

my ($texts, $missing) = (0, 0);
for my $name (sources("'src/*.cpp'", "'src/*.h'")) {
    next if $name eq 'src/psp/property_names.cpp';    # no log text and no exception names a property
    for my $literal (literals(read_file($name))) {
        my ($line, $text) = @$literal;
        next if $text =~ /^[0-9A-Z]{14,}$/;    # an alphabet
        for my $piece (split /%[-+ #0]*[0-9]*(?:\.[0-9]+)?(?:hh|h|ll|l|z)?[diuxXscp]/, $text) {
            next if $piece !~ /[A-Za-z]{2}/;
            ++$texts;
            next if index($seen, $piece) >= 0;
            print "$name:$line: \"$piece\"\n";
            ++$missing;
        }
    }
}
print "$missing of $texts texts are in no test\n";
exit($missing == 0 && $texts > 0 ? 0 : 1);
