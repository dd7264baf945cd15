# What fish offers after "vannerly".
complete -c vannerly -f -a '(__fish_complete_directories)'
complete -c vannerly -l preview -d 'Show first what would happen'
complete -c vannerly -l preferences -d 'Show the preferences'
complete -c vannerly -l help -d 'Show the options'
complete -c vannerly -l version -d 'Show the version'
