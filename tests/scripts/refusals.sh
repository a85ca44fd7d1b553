#!/usr/bin/env bash
# refusals.sh SOURCE: what ./demo and ./check refuse, before they build or install anything.
. "$(dirname "$0")/expect.sh"
trap 'rm -rf "$scratch"' EXIT
root=$1

for option in --seconds --out; do
    run "$root/demo" $option
    expect "demo: $option without a value is wrong usage" code_is 64
    expect "demo: $option without a value shows the usage" says '^usage: ./demo'
    expect "demo: $option without a value is named" says "$option takes a value"
done
for value in 0 -1 soon ''; do
    run "$root/demo" --out "$scratch/out" --seconds "$value"
    expect "demo: --seconds '$value' is wrong usage" code_is 64
done
for command in demo check; do
    run "$root/$command" --no-such-option
    expect "$command: an unknown option is wrong usage" code_is 64
    expect "$command: an unknown option is named" says '--no-such-option'
    run "$root/$command" --help
    expect "$command: --help is no failure" code_is 0
    expect "$command: --help shows the usage" says "^usage: ./$command"
done

# A Debian on which two packages are missing, and an apt-get that must not be called.
mkdir "$scratch/bin"
cat >"$scratch/bin/dpkg-query" <<'EOF'
#!/bin/sh
for package; do :; done
case $package in
    libyuv-dev | qtbase5-dev) printf not-installed ;;
    *) printf installed ;;
esac
EOF
for tool in apt-get sudo; do
    printf '#!/bin/sh\ntouch "%s"\nexit 1\n' "$scratch/installed" >"$scratch/bin/$tool"
done
chmod +x "$scratch"/bin/*
for command in "demo --out $scratch/out" check; do
    # shellcheck disable=SC2086
    run env PATH="$scratch/bin:$PATH" "$root"/$command --no-install
    expect "$command: --no-install fails when packages are missing" code_is 1
    expect "$command: --no-install names the missing packages" says 'apt-get install qtbase5-dev libyuv-dev *$'
    expect "$command: --no-install installs nothing" [ ! -e "$scratch/installed" ]
done
exit $((failures > 0))
