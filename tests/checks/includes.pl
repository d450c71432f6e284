#!/usr/bin/env perl
# Whether the folders of src/ include only what the table in docs/architecture.md lets them include. Prints each
# include that the table has no edge for, each edge that no include needs, and each folder that stands below one
# that it includes. Also holds what that document says about threads and platforms. Run in the root of the tree.
use strict;
use warnings;

my $document = 'docs/architecture.md';
my $bad      = 0;

sub complain { print "@_\n"; ++$bad }

sub lines {
    my ($name) = @_;
    open my $file, '<', $name or die "$name: $!\n";
    return <$file>;
}

# The rows of the table, from the top of the library down: | `folder` | what it holds | `folder` `folder` |
my (%place, %allowed);
my $in_table = 0;
for my $line (lines($document)) {
    if ($line =~ /^\| Folder \| Holds \| Includes \|$/) {
        $in_table = 1;
    } elsif ($in_table && $line =~ /^\| `([^`]+)` \|.*\|([^|]*)\|$/) {
        my ($folder, $cell) = ($1, $2);
        $place{$folder} = keys %place;
        $allowed{$folder}{$_} = 0 for $cell =~ /`([^`]+)`/g;
    } elsif ($line !~ /^\|/) {
        $in_table = 0;
    }
}
die "$document has no table with the columns Folder, Holds, Includes\n" unless %place;

for my $folder (sort keys %allowed) {
    for my $other (sort keys %{ $allowed{$folder} }) {
        if (!exists $place{$other}) {
            complain("$document: no row for $other, which $folder includes");
        } elsif ($place{$other} <= $place{$folder}) {
            complain("$document: $folder includes $other, which does not stand below it");
        }
    }
}

# The folder of an included file. zel is include/zel; what the build generates stands in no folder.
sub folder_of {
    my ($file) = @_;
    return $file =~ m{^(.*)/[^/]+$} ? $1 : 'generated';
}

my $threads = qr{^(?:sys/(?:thread|event|critical_section)\.h|thread|mutex|shared_mutex|condition_variable|atomic)$};
my %seen;
my @sources = split /\n/, `git ls-files --cached --others --exclude-standard -- 'src/*.h' 'src/*.cpp'`;
for my $source (grep { -e } @sources) {
    my $folder = folder_of($source =~ s{^src/}{}r);
    $seen{$folder} = 1;
    complain("$source: $document has no row for $folder") && next unless exists $place{$folder};
    my $threadless = $folder =~ m{^(?:protocol/|security$)};
    my $is_twin    = $source =~ m{^src/(?:sys|net)/\w+_(?:posix|windows)\.cpp$};
    my $number  = 0;
    for my $line (lines($source)) {
        my $where = "$source:" . ++$number;
        if ($line =~ /^\s*#\s*include ["<]([^">]+)/ && $threadless && $1 =~ $threads) {
            complain("$where: $folder knows no threads");
        }
        if ($line =~ /^\s*#\s*include "([^"]+)"/) {
            my ($file, $other) = ($1, folder_of($1));
            next if $other eq $folder;
            if (exists $allowed{$folder}{$other}) {
                ++$allowed{$folder}{$other};
            } else {
                complain("$where: $folder may not include $file");
            }
        } elsif ($line =~ m{^\s*#\s*include (<[^>]*[/.][^>]*>)}) {
            complain("$where: $1 is a platform's, hence for a twin source in src/sys or src/net") unless $is_twin;
        } elsif ($line =~ /^\s*#\s*(?:if|ifdef|ifndef|elif)\b/ && $folder !~ /^(?:sys|net)$/) {
            complain("$where: conditions on the platform belong into src/sys or src/net");
        } elsif ($line =~ /\basm\b/ && $line !~ m{//.*\basm\b} && !$is_twin) {
            complain("$where: assembler belongs into a twin source in src/sys or src/net");
        }
    }
}

for my $folder (sort keys %allowed) {
    complain("$document: there is no folder $folder") unless $seen{$folder} || $folder =~ /^(?:zel|generated)$/;
    for my $other (sort keys %{ $allowed{$folder} }) {
        complain("$document: $folder includes nothing of $other") if $allowed{$folder}{$other} == 0;
    }
}

my $edges = 0;
$edges += keys %$_ for values %allowed;
print "$bad complaints about ", scalar(@sources), " sources, $edges edges\n";
exit($bad == 0 && @sources > 0 ? 0 : 1);
