#!/usr/bin/env bash
# A consumer compiling the public headers as C++17 gets one clear message naming C++20, and
# compiles them cleanly as C++20.
set -euo pipefail
cxx="$1"; include="$2"
if out="$(echo '#include <varnock/varnock.h>' | "$cxx" -std=c++17 -fsyntax-only -I "$include" -x c++ - 2>&1)"; then
  echo "C++17 compile of the headers succeeded; expected the C++20 message"; exit 1
fi
grep -q "need C++20" <<<"$out" || { echo "unclear error for C++17:"; echo "$out" | head -5; exit 1; }
echo '#include <varnock/varnock.h>' | "$cxx" -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I "$include" -x c++ -
echo ok
