# shellcheck shell=bash
# Sets up a WordPress weblog with a database server of its own, and sends 50 requests to it. Sourced by `drive`.

: "${demo:?}" "${base:?}" "${password:?}"

set_up_wordpress() {
    local data=$demo/wordpress
    mkdir -p "$data"
    cp -r /usr/share/wordpress/wp-content "$data/content"
    cp -r "$demo/applications/wordpress/mu-plugins" "$data/content"
    ln -sf "$demo/applications/wordpress/config.php" /etc/wordpress/config-default.php
    mariadb-install-db --no-defaults --user=root --datadir="$data/database" --skip-test-db >"$demo/install.log"
    mariadbd --no-defaults --user=root --datadir="$data/database" --socket="$data/mariadb.sock" --skip-networking \
        >"$demo/database.log" 2>&1 &
    database=$!
    until [ -S "$data/mariadb.sock" ]; do
        kill -0 "$database" 2>/dev/null || { cat "$demo/database.log" >&2 && exit 1; }
        sleep 0.1
    done
    php "$demo/applications/wordpress/install.php" "$password" >>"$demo/install.log"
    # shellcheck disable=SC2016  # PHP's variables
    php -r 'imagepng(imagecreatetruecolor(320, 200), $argv[1]);' "$demo/picture.png"
    printf 'It rained 7 mm in the north.\n' >"$demo/readings.txt"
}

# post JSON: saves a post. Sets `post` to its number, which is missing in the answer to a request that failed.
post() {
    get '/?rest_route=/wp/v2/posts' -H "X-WP-Nonce: $nonce" -H 'Content-Type: application/json' --data-binary "$1"
    post=$(sed -nE '1s/^\{"id":([0-9]+).*/\1/p' "$demo/answer")
}

drive_wordpress() {
    set_up_wordpress
    serve wordpress /usr/share/wordpress
    local post nonce gauge readings
    local form='Content-Type: application/x-www-form-urlencoded; charset=ISO-8859-1'

    get /
    get '/?p=1'
    get '/?p=404404'
    get '/no/such/page'
    get '/%E9t%E9?s=%FF%FE'
    get '/?s=h%C3%A9llo+%E9%9B%A8'
    get '/?feed=rss2'
    get '/wp-sitemap.xml'
    get '/?author=1'
    get '/?cat=1' -I
    get /wp-comments-post.php -d 'comment_post_ID=1&author=Zo%C3%AB&email=zoe@example.org' \
        --data-urlencode 'comment=Il pleut à Nîmes : 雨 ☔'
    get /wp-comments-post.php -H "$form" \
        --data-binary $'comment_post_ID=1&author=Ren\xe9&email=rene@example.org&comment=D\xe9j\xe0 7 mm'
    get /wp-comments-post.php -H "$form" \
        -d 'comment_post_ID=1&author=Jos%E9&email=jose@example.org&comment=Ma%F1ana+9+mm'
    get /wp-comments-post.php -d 'comment_post_ID=1&author=&email=&comment='
    get /wp-trackback.php?p=1 -d 'title=caf%E9&excerpt=%E9&url=http://example.org/&charset=ISO-8859-1'
    get /xmlrpc.php -H 'Content-Type: text/xml' \
        -d '<?xml version="1.0"?><methodCall><methodName>demo.sayHello</methodName></methodCall>'
    get /xmlrpc.php -H 'Content-Type: text/xml' -d '<methodCall><unfinished'
    get '/?rest_route=/wp/v2/posts'
    get '/?rest_route=/wp/v2/posts/404404'
    get '/?rest_route=/wp/v2/users/me'
    get /wp-admin/
    get /wp-login.php
    get /wp-login.php -d 'log=admin&pwd=wrong&wp-submit=Log+In&testcookie=1'
    get '/wp-login.php?action=lostpassword' -d 'user_login=nobody'
    get /wp-login.php --data-urlencode "pwd=$password" -d 'log=admin&wp-submit=Log+In&testcookie=1&rememberme=forever'
    get /wp-admin/
    get '/wp-admin/admin-ajax.php?action=rest-nonce'
    nonce=$(cat "$demo/answer")
    post '{"title":"Rain gauge, 雨量計","content":"7 mm. [forecast of=\"north\"]","status":"publish"}'
    gauge=$post
    post '{"title":"West","content":"[forecast of=\"west\"]","status":"publish"}'
    post '{"title":"Readings","content":"[readings]","status":"publish"}'
    readings=$post
    post '{"title":"Totals","content":"[totals]","status":"private"}'
    post $'{"title":"caf\xe9"}'
    get '/?rest_route=/wp/v2/media' -H "X-WP-Nonce: $nonce" -H 'Content-Type: image/png' \
        -H 'Content-Disposition: attachment; filename="picture.png"' --data-binary "@$demo/picture.png"
    get /wp-admin/media-new.php
    get /wp-admin/media-new.php -F "_wpnonce=$(field _wpnonce)" -F html-upload=Upload \
        -F "async-upload=@$demo/readings.txt;type=text/plain;filename=Messwerte süd.txt"
    get /wp-admin/upload.php?mode=list
    get "/?p=$gauge"
    get "/?p=$((gauge + 1))"
    get "/?p=$readings"
    get "/?p=$((readings + 1))"
    get /wp-admin/edit.php
    get /wp-admin/options-general.php
    get /wp-admin/options.php -d "option_page=general&action=update&_wpnonce=$(field _wpnonce)" \
        --data-urlencode 'blogname=Wetter im Süden' -d 'blogdescription=&start_of_week=1&timezone_string=UTC'
    get /wp-admin/options.php -d 'option_page=general&action=update&_wpnonce=wrong'
    get '/wp-admin/edit-comments.php'
    get '/wp-admin/plugins.php?s=nothing'
    get '/wp-admin/no-such-page.php'
    get '/wp-login.php?action=logout'
    get "/wp-login.php?action=logout&$(grep -oE '_wpnonce=[0-9a-f]+' "$demo/answer" | head -n 1)"
    stop_database
    get /
}
