#!/usr/bin/env bash
# A customer's project that takes the library in as sources: zel::zel, and nothing of ours but the library.
# Run in the root of the tree.
source tests/checks/cases.sh

configured() { cmake -S tests/install/in_tree -B "build/install/$1" -G Ninja -DZEL_SOURCES="$PWD" -DZEL_UNITY=ON -DZEL_BY="$1"; }
library_alone() { ! ninja -C "build/install/$1" -t targets all | grep -E '(penctl|pensim|_tests?|gtest[a-z_]*)(\.a|\.exe)?: '; }
installs_nothing_of_ours() { ! grep -rE --include=cmake_install.cmake "zelTargets|include/zel" "build/install/$1"; }

rm -rf build/install/add_subdirectory build/install/FetchContent
for way in add_subdirectory FetchContent; do
    expect "$way gives zel::zel" configured "$way"
    expect "$way brings neither programs nor tests" library_alone "$way"
    expect "$way leaves the customer's installation alone" installs_nothing_of_ours "$way"
done
expect "a host builds with the library's sources" cmake --build build/install/add_subdirectory
expect "that host runs" build/install/add_subdirectory/c_host
end_cases
