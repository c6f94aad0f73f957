#!/bin/bash
# Writes tests/data/time_axis_reference.tsv, the reference table for the
# major tics and labels of time axes, with GNU date as the calendar.
#
# Each case names a span, the step that a time axis is expected to choose
# for it (worked out by hand from the step table: 2 to 19 major tics of a
# calendar division or a power-of-ten multiple of one) and the label
# format for that step. GNU date then finds the tic instants (multiples of
# the step in epoch seconds; first days of months for steps of 30 days or
# more, counted from the month of the start; first days of years for steps
# of 365 days or more, counted from the year of the start) and writes their labels.
#
# Rows are tab-separated:
#   <case> <start epoch> <end epoch> <tic epoch> <label>
#
# Usage: tools/gen_time_axis_reference.sh [output]   (needs GNU date, awk)
set -euo pipefail
shopt -s inherit_errexit

export TZ=UTC LC_ALL=C
out=$(realpath -m -- "${1:-$(dirname "$0")/../tests/data/time_axis_reference.tsv}")
# The tools run in a scratch directory, so that nothing they leave lands in
# the tree.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

if ! date --version 2>/dev/null | grep -q GNU; then
    echo "gen_time_axis_reference.sh: GNU date is required" >&2
    exit 1
fi

epoch() { date -u -d "$1" +%s; }

# Label of an instant: a date format, and ".mmm" when millis is "ms".
label() {
    local t=$1 format=$2 millis=$3 whole frac
    whole=$(awk -v t="$t" 'BEGIN { printf "%d", (t < 0 ? -int(-t) : int(t)) }')
    if [[ $millis == ms ]]; then
        frac=$(awk -v t="$t" -v w="$whole" 'BEGIN { printf "%03d", int((t - w) * 1000 + 0.5) }')
        echo "$(date -u -d "@$whole" +"$format").$frac"
    else
        date -u -d "@$whole" +"$format"
    fi
}

# Tics every step seconds at whole multiples of the step.
second_tics() {
    local lo=$1 hi=$2 step=$3
    awk -v lo="$lo" -v hi="$hi" -v s="$step" 'BEGIN {
        k = lo / s; first = (k == int(k)) ? k : int(k) + (k > 0 ? 1 : 0);
        for (i = first; i * s <= hi; i++) printf "%.6f\n", i * s }'
}

# Tics on the first day of every n-th month from the month of lo, or from
# January of its year when january is "jan".
month_tics() {
    local lo=$1 hi=$2 n=$3 january=${4:-} y m t
    y=$(date -u -d "@$lo" +%Y)
    m=$((10#$(date -u -d "@$lo" +%m)))
    [[ $january == jan ]] && m=1
    while :; do
        t=$(epoch "$(printf '%04d-%02d-01' "$y" "$m")")
        ((t > hi)) && break
        ((t >= lo)) && echo "$t"
        m=$((m + n))
        while ((m > 12)); do
            m=$((m - 12))
            y=$((y + 1))
        done
    done
}

# case  start  end  unit  step  date-format  millis
cases=(
    "1s      2026-03-01T12:00:00 2026-03-01T12:00:01 s   0.2      %H:%M:%S ms"
    "10s     2026-03-01T12:00:03 2026-03-01T12:00:13 s   2        %H:%M:%S -"
    "2min    2025-12-31T23:59:00 2026-01-01T00:01:00 s   30       %H:%M:%S -"
    "1h      2026-03-01T12:07:00 2026-03-01T13:07:00 s   900      %H:%M    -"
    "5h      2026-03-01T21:30:00 2026-03-02T02:30:00 s   3600     %H:%M    -"
    "1day    2024-02-29T06:00:00 2024-03-01T06:00:00 s   21600    %H:%M    -"
    "10day   2026-02-25T00:00:00 2026-03-07T00:00:00 s   172800   %b-%d    -"
    "40day   2024-02-10T00:00:00 2024-03-21T00:00:00 s   1209600  %b-%d    -"
    "60day   2025-12-01T00:00:00 2026-01-30T00:00:00 s   1209600  %b-%d    -"
    "200day  2023-11-15T00:00:00 2024-06-02T00:00:00 mon 3        %b-%y    -"
    "1year   2023-07-01T00:00:00 2024-07-01T00:00:00 mon 6        %b-%y    -"
    "3year   2021-06-01T00:00:00 2024-06-01T00:00:00 yr  1        %b-%y    -"
    "20year  2000-01-01T00:00:00 2020-01-01T00:00:00 yr  10       %y       -"
    "20yearb 1999-07-01T00:00:00 2019-07-01T00:00:00 yr  10       %y       -"
)

{
    echo "# case	start	end	tic	label (made by tools/gen_time_axis_reference.sh)"
    for c in "${cases[@]}"; do
        read -r name start end unit step format millis <<<"$c"
        lo=$(epoch "$start")
        hi=$(epoch "$end")
        if [[ $unit == s ]]; then
            tics=$(second_tics "$lo" "$hi" "$step")
        elif [[ $unit == mon ]]; then
            tics=$(month_tics "$lo" "$hi" "$step")
        else
            tics=$(month_tics "$lo" "$hi" $((12 * step)) jan)
        fi
        for t in $tics; do
            printf '%s\t%s\t%s\t%s\t%s\n' "$name" "$lo" "$hi" "$t" "$(label "$t" "$format" "$millis")"
        done
    done
} >"$out"
echo "wrote $out"
