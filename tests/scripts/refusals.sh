#!/usr/bin/env bash
# refusals.sh SOURCE: what ./demo and ./check refuse before they build anything, and what they say before they install.
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
# They note what they are called with, and what had been said by then.
for tool in apt-get sudo; do
    cat >"$scratch/bin/$tool" <<EOF
#!/bin/sh
echo "\$@" >>"$scratch/installed"
cp "$scratch/output" "$scratch/said"
exit 1
EOF
done
chmod +x "$scratch"/bin/*
for command in "demo --out $scratch/out" check; do
    rm -f "$scratch/installed"
    # shellcheck disable=SC2086
    run env PATH="$scratch/bin:$PATH" "$root"/$command --no-install
    expect "$command: --no-install fails when packages are missing" code_is 1
    expect "$command: --no-install says what they are for" says 'Missing Debian packages (.*Qt 5.*): qtbase5-dev libyuv-dev'
    expect "$command: --no-install names the missing packages" says 'apt-get install qtbase5-dev libyuv-dev *$'
    expect "$command: --no-install installs nothing" [ ! -e "$scratch/installed" ]
    # shellcheck disable=SC2086
    run env PATH="$scratch/bin:$PATH" "$root"/$command
    expect "$command: what is missing is asked for" grep -q 'install .*qtbase5-dev libyuv-dev' "$scratch/installed"
    expect "$command: what is installed, and for what, is said before" \
        grep -q 'Missing Debian packages (.*Qt 5.*): qtbase5-dev libyuv-dev' "$scratch/said"
    expect "$command: an installation that fails is a failure" code_is 1
    expect "$command: an installation that fails is told" says 'apt-get failed'
done
exit $((failures > 0))
