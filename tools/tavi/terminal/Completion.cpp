#include <Catalogue.hpp>
#include <CommandTable.hpp>

#include <functional>

namespace NORV::TaviTool {
namespace {

/// The kind of the values of a key, as the letter behind its '=' in the tables.
char kindOf(const KeyDescription& key) {
  switch (key.info.takes) {
    case Takes::flag:
      return 'b';
    case Takes::mask:
    case Takes::volumeList:
      return 'm';
    case Takes::matrix:
      return 't';
    case Takes::position:
      return 'p';
    case Takes::volume:
    case Takes::labelVolume:
    case Takes::fileName:
    case Takes::object:
      return 'f';
    default:
      return 'n';
  }
}

/// "inputVolume=f inputUpperLimit=n ...": what can be given on the command line.
std::string keysText(const std::string& op) {
  std::vector<std::string> keys;
  for (const KeyDescription& key : keysOf(makeParameter(op))) {
    if (!isOutput(key.key) || isVolume(key)) {
      keys.push_back(key.key + "=" + kindOf(key));
    }
  }
  return join(keys, " ");
}

/// The arms of a case, one for each operator or command.
std::string arms(const std::vector<std::string>& names, const std::function<std::string(const std::string&)>& textOf) {
  std::string text;
  for (const std::string& name : names) {
    text += "    " + name + ") echo '" + textOf(name) + "' ;;\n";
  }
  return text;
}

std::string optionsText(const CommandEntry& command) {
  std::vector<std::string> names;
  for (const OptionEntry& option : command.options) {
    for (const std::string& name : option.names) {
      if (!option.isPositional && name.starts_with("--")) {
        names.push_back(name);
      }
    }
  }
  return join(names, " ");
}

/// What both shells share: the words to choose from, by command and operator.
std::string tables(const CLI::App& app) {
  const auto commands = commandsOf(app);
  std::vector<std::string> names;
  for (const CommandEntry& command : commands) {
    names.push_back(command.name);
  }
  const auto optionsOf = [&](const std::string& name) {
    for (const CommandEntry& command : commands) {
      if (command.name == name) {
        return optionsText(command);
      }
    }
    return std::string();
  };
  return "_tavi_commands='" + join(names, " ") + "'\n_tavi_common='" + optionsText(entryOf(app)) +
         "'\n_tavi_operators='" + join(operatorNames(), " ") +
         "'\n\n# The options of a command.\n_tavi_options() {\n  case $1 in\n" + arms(names, optionsOf) +
         "  esac\n}\n\n"
         "# The keys of an operator; behind each a letter for its values: (f)ile, (m)ask, ma(t)rix, (b)oolean,\n"
         "# (p)osition, (n)umber.\n_tavi_keys() {\n  case $1 in\n" +
         arms(operatorNames(), keysText) + "  esac\n}\n\n";
}

// clang-format off
constexpr const char* bashBody = R"sh(# The words that may stand behind "key=", for the letter of a key.
_tavi_values() {
  case $1 in
    b) echo 'true false' ;;
    m) echo 'box: ball: cross:' ;;
    t) echo 'rotate: scale: flip: translate:' ;;
    p) echo 'center' ;;
  esac
}

# The letter of a key of an operator; it may be short of its role.
_tavi_kind() {
  local each
  for each in $(_tavi_keys "$2"); do
    [[ ${each%%=*} == "$1" || ${each%%=*} == input"${1^}" || ${each%%=*} == input"${1^}"Volume ]] && echo "${each#*=}"
  done
}

_tavi_complete_value() {
  local key=${1%%=*} value=${1#*=} kind before=
  kind=$(_tavi_kind "$key" "$2")
  [[ $COMP_WORDBREAKS == *=* ]] || before=$key=
  COMPREPLY=($(compgen -P "$before" -W "$(_tavi_values "$kind")" -- "$value"))
  [[ ${COMPREPLY[0]-} == *: ]] && compopt -o nospace 2>/dev/null
  if [[ $kind == [fmt] ]]; then
    compopt -o filenames 2>/dev/null
    local IFS=$'\n'
    COMPREPLY+=($(compgen -P "$before" -f -- "$value"))
  fi
}

_tavi() {
  local line=${COMP_LINE:0:COMP_POINT} cur words command operator word
  read -ra words <<<"$line"
  cur=${line##* }
  [[ -n $cur ]] && unset "words[${#words[@]}-1]"
  for word in "${words[@]:1}"; do
    [[ $word == -* ]] && continue
    if [[ -z $command ]]; then
      [[ " $_tavi_commands " == *" $word "* ]] && command=$word
    elif [[ -z $operator ]]; then
      operator=$word
    fi
  done
  COMPREPLY=()
  if [[ $cur == -* ]]; then
    COMPREPLY=($(compgen -W "$(_tavi_options "$command") $_tavi_common" -- "$cur"))
  elif [[ -z $command ]]; then
    COMPREPLY=($(compgen -W "$_tavi_commands" -- "$cur"))
  elif [[ ($command == run || $command == describe) && -z $operator ]]; then
    COMPREPLY=($(compgen -W "$_tavi_operators" -- "$cur"))
  elif [[ $command == run && $cur == *=* ]]; then
    _tavi_complete_value "$cur" "$operator"
  elif [[ $command == run ]]; then
    COMPREPLY=($(compgen -W "$(_tavi_keys "$operator" | sed 's/=[a-z]/=/g')" -- "$cur"))
    compopt -o nospace 2>/dev/null
  elif [[ $command == mask && -z $operator ]]; then
    COMPREPLY=($(compgen -W 'box ball cross' -- "$cur"))
  elif [[ $command == completion ]]; then
    COMPREPLY=($(compgen -W 'bash zsh' -- "$cur"))
  else
    compopt -o filenames 2>/dev/null
    local IFS=$'\n'
    COMPREPLY=($(compgen -f -- "$cur"))
  fi
}
complete -F _tavi tavi
)sh";

constexpr const char* zshBody = R"sh(_tavi_value() {
  local key=${1%%=*} name kind each
  name=input${(U)key[1]}${key[2,-1]}
  for each in ${=$(_tavi_keys $2)}; do
    [[ ${each%%=*} == $key || ${each%%=*} == $name || ${each%%=*} == ${name}Volume ]] && kind=${each#*=}
  done
  compset -P '*='
  case $kind in
    b) compadd true false ;;
    p) compadd center ;;
    m) compadd -S '' box: ball: cross: ; _files ;;
    t) compadd -S '' rotate: scale: flip: translate: ; _files ;;
    f) _files ;;
  esac
}

_tavi() {
  local command operator word
  for word in ${words[2,CURRENT-1]}; do
    [[ $word == -* ]] && continue
    if [[ -z $command ]]; then
      [[ " $_tavi_commands " == *" $word "* ]] && command=$word
    elif [[ -z $operator ]]; then
      operator=$word
    fi
  done
  if [[ $PREFIX == -* ]]; then
    compadd -- ${=$(_tavi_options $command)} ${=_tavi_common}
  elif [[ -z $command ]]; then
    compadd -- ${=_tavi_commands}
  elif [[ ($command == run || $command == describe) && -z $operator ]]; then
    compadd -- ${=_tavi_operators}
  elif [[ $command == run && $PREFIX == *=* ]]; then
    _tavi_value "$PREFIX" "$operator"
  elif [[ $command == run ]]; then
    local -a keys
    keys=(${=$(_tavi_keys $operator)})
    compadd -S '=' -- ${keys%%=*}
  elif [[ $command == mask && -z $operator ]]; then
    compadd box ball cross
  elif [[ $command == completion ]]; then
    compadd bash zsh
  else
    _files
  fi
}

if [[ $zsh_eval_context[-1] == loadautofunc ]]; then
  _tavi "$@"
else
  compdef _tavi tavi
fi
)sh";
// clang-format on

}  // namespace

std::string completionScript(const CLI::App& app, const std::string& shell) {
  if (shell == "bash") {
    return "# Completion of tavi for bash, printed by \"tavi completion bash\".\n" + tables(app) + bashBody;
  }
  if (shell == "zsh") {
    return "#compdef tavi\n# Completion of tavi for zsh, printed by \"tavi completion zsh\".\n" + tables(app) + zshBody;
  }
  throw UsageError("\"" + shell + "\": there is completion for bash and zsh");
}

}  // namespace NORV::TaviTool
