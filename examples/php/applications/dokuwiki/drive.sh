# shellcheck shell=bash
# Sets up a DokuWiki with one account, and sends 50 requests to it. Sourced by `drive`.

: "${demo:?}" "${base:?}" "${password:?}"

set_up_dokuwiki() {
    local data=$demo/dokuwiki
    mkdir -p "$data/conf"
    cp /etc/dokuwiki/plugins*.php "$data/conf"
    cp -r /var/lib/dokuwiki/data "$data"
    cp -rL /usr/share/dokuwiki/lib/plugins "$data"
    cp -r "$demo/applications/dokuwiki/forecast" "$data/plugins"
    cp "$demo/applications/dokuwiki/local.php" "$data/conf"
    ln -sf "$demo/applications/dokuwiki/preload.php" /etc/dokuwiki/preload.php
    printf '*\t@ALL\t1\n*\t@user\t8\n' >"$data/conf/acl.auth.php"
    # shellcheck disable=SC2016  # PHP's variables
    php -r 'printf("admin:%s:Zoë:zoe@example.org:admin,user\n", password_hash($argv[1], PASSWORD_BCRYPT));' \
        "$password" >"$data/conf/users.auth.php"
    # shellcheck disable=SC2016
    php -r 'imagepng(imagecreatetruecolor(320, 200), $argv[1]);' "$demo/picture.png"
}

# save PAGE SUMMARY TEXT: sends the form of the page that was asked for with do=edit.
save() {
    get "/doku.php?id=$1" -F "sectok=$(field sectok)" -F "id=$1" -F rev=0 -F "date=$(field date)" -F prefix=. \
        -F suffix= -F "changecheck=$(field changecheck)" -F target=section -F "summary=$2" \
        --form-string "wikitext=$3" -F 'do[save]=1'
}

drive_dokuwiki() {
    set_up_dokuwiki
    serve dokuwiki /usr/share/dokuwiki
    local token form='Content-Type: application/x-www-form-urlencoded; charset=ISO-8859-1'

    get /doku.php
    get '/doku.php?id=wiki:syntax'
    get '/doku.php?id=no:such:page'
    get '/doku.php?id=%E9t%E9:caf%E9'
    get '/doku.php?id=r%C3%A9gion:%E9%9B%A8'
    get '/doku.php?do=search&id=start&q=toolbar'
    get '/doku.php?id=start&do=index'
    get '/doku.php?id=start&do=recent'
    get '/doku.php?id=start&do=edit'
    get '/doku.php?id=start&do=admin'
    get '/doku.php?id=start&do=no_such_action'
    get '/doku.php?id=wiki:dokuwiki&do=export_raw'
    get '/doku.php?id=wiki:dokuwiki&do=export_xhtml' -I
    get /feed.php
    get '/lib/exe/css.php?t=dokuwiki'
    get '/lib/exe/js.php?t=dokuwiki'
    get '/lib/exe/fetch.php?media=no:such.png'
    get '/lib/exe/fetch.php?media=http://example.org/%E9.png'
    get '/lib/exe/taskrunner.php?id=wiki:syntax'
    get '/lib/exe/ajax.php' -d 'call=qsearch&q=wiki'
    get '/lib/exe/ajax.php' -d 'call=no_such_call&q=%E9'
    get /lib/exe/xmlrpc.php -H 'Content-Type: text/xml' \
        -d '<?xml version="1.0"?><methodCall><methodName>dokuwiki.getVersion</methodName></methodCall>'
    get /lib/exe/jsonrpc.php/wiki.getPage -H 'Content-Type: application/json' -d '{"page":"wiki:syntax"'
    get '/doku.php?id=start&do=login'
    get '/doku.php?id=start' -d "sectok=$(field sectok)&id=start&do=login&u=admin&p=wrong"
    get '/doku.php?id=start' -d "sectok=$(field sectok)&id=start&do=login&u=admin" --data-urlencode "p=$password"
    get '/doku.php?id=start&do=profile'
    get '/doku.php?id=gauges:north&do=edit'
    get '/doku.php?id=gauges:north' -d "sectok=$(field sectok)&id=gauges:north&do[preview]=1&date=&prefix=&suffix=" \
        --data-urlencode 'wikitext======= Régen 雨 ======'
    save gauges:north 'première mesure' '====== Régen 雨 ======
It rained **7 mm**. {{forecast>north}}'
    get '/doku.php?id=gauges:north'
    get '/doku.php?id=gauges:west&do=edit'
    token=$(field sectok)
    get '/doku.php?id=gauges:west' -H "$form" -d "sectok=$token&id=gauges:west&do[save]=1&date=&prefix=.&suffix=" \
        --data-binary $'summary=caf\xe9&wikitext=D\xe9j\xe0 7 mm {{forecast>west}}'
    get '/doku.php?id=gauges:west'
    get '/doku.php?id=gauges:all&do=edit'
    save gauges:all all '{{forecast>everywhere}}'
    get '/doku.php?id=gauges:all'
    get '/doku.php?id=gauges:north&do=edit'
    save gauges:north 'second' '====== Rain ======
It rained **12 mm** in [[süd]].'
    get '/doku.php?id=gauges:north&do=revisions'
    get '/doku.php?id=gauges:north&do=diff'
    get '/doku.php?id=gauges:north&do=media&ns=gauges'
    token=$(field sectok)
    get '/lib/exe/ajax.php?call=mediaupload&ns=gauges' -F "sectok=$token" \
        -F "qqfile=@$demo/picture.png;type=image/png;filename=regen.png"
    get '/lib/exe/mediamanager.php?ns=gauges' -F "sectok=$token" -F ns=gauges -F mediaid=script.php \
        -F "upload=@$demo/applications/dokuwiki/local.php;type=text/plain"
    get '/lib/exe/fetch.php?media=gauges:regen.png'
    get '/lib/exe/detail.php?id=gauges:north&media=gauges:regen.png'
    get '/doku.php?id=start&do=admin&page=config'
    get '/doku.php?id=start&do=admin&page=usermanager'
    get "/doku.php?id=start&do=logout&sectok=$token"
    # A settings file that PHP cannot parse.
    # shellcheck disable=SC2016
    printf '$conf[\n' >>"$demo/dokuwiki/conf/local.php"
    get /doku.php
}
