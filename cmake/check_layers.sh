#!/usr/bin/env bash
# Fails on an include that points upward. A single root on the include path cannot enforce the
# layers, so this script does. The DEPENDS of the targets follow the same arrows.
# usage: cmake/check_layers.sh [ROOT]   (the repository by default)
set -eu
cd "${1:-$(dirname "$0")/..}"

# The layers, defined here and nowhere else. A layer may include itself, the layers in its row, and
# whatever those may include.
declare -A below=(
  [basic]=""
  [log]="basic"
  [lsq]="basic"
  [interpolation]="log lsq"
  [time]="log"
  [controller]="log"
  [pool]="log"
  [dem]="pool"
  [orbit]="time pool interpolation"
  [geolocation]="dem lsq"
  [imaging]="geolocation orbit"
  [product]=""
  [batch]=""
  [check]=""
  [raster]=""
  [report]=""
  [cli]="batch check product raster report"
  [app]="basic log lsq interpolation time controller pool dem orbit geolocation"
  [api]="app imaging"
  [python]=""
)

# The sources of the target qm_controller. The others in its folder belong to the log.
controller_stems=$(sed -n '/qm_add_library(qm_controller/,/)/s/^ *\([a-z_0-9]*\)\.cpp.*/\1/p' runtime/CMakeLists.txt)

# Sets `layer` to the layer of a path from the root, or to "" if it is in none.
find_layer() {
  layer=${1%%/*}
  case $1 in
    geolocation/lsq/*) layer=lsq ;;
    toolbox/*/*) layer=${1#toolbox/} layer=${layer%%/*} ;;
    orbit/interpolation/*) layer=interpolation ;;
    runtime/*)
      local stem=${1#runtime/}
      layer=log
      [[ " "${controller_stems//$'\n'/ }" " == *" ${stem%.*} "* ]] && layer=controller
      ;;
  esac
  [[ $1 == */* && -n ${below[$layer]+known} ]] || layer=""
}

may_include() { # may_include UPPER LOWER
  [[ $1 == "$2" ]] && return 0
  local next
  for next in ${below[$1]}; do
    may_include "$next" "$2" && return 0
  done
  return 1
}

failed=0
while IFS=: read -r file line text; do
  included=${text#*\"}
  included=${included%%\"*}
  find_layer "$file"
  from=$layer
  find_layer "$included"
  if [[ -z $layer ]]; then
    echo "$file:$line: \"$included\" is no file of a layer, named from the root" >&2
    failed=1
  elif ! may_include "$from" "$layer"; then
    echo "$file:$line: $from must not include $layer (\"$included\")" >&2
    failed=1
  fi
done < <(grep -rnE --include='*.h' --include='*.tcc' --include='*.inc' --include='*.cpp' \
  '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' \
  basic runtime time pool dem orbit geolocation imaging app api toolbox python || true)
exit "$failed"
